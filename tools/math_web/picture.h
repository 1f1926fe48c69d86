// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <vector>

#include "BASIC_TRACE.hh"
#include "tools/math_web/View.h"
#include "tools/math_web/frame.h"

namespace Lumenar::Web {

/// A sample of a trace as one view shows it, which all clients with this view share.
struct Picture {
  FrameFacts facts;  ///< but for the stream and what it skipped
  std::shared_ptr<const std::vector<float>> numbers;
};

/// Shape    at most 2 * view.columns numbers.      Threads  pure.
Picture PictureOf(const Corvanta::BASIC_TRACE::BT_DATA& trace, double time_s, const View& view);

}  // namespace Lumenar::Web
