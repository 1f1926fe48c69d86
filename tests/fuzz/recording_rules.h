// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "instruments/replay/ReadOptions.h"
#include "tests/fuzz/targets.h"

namespace Lumenar::Fuzz {

/// Reads the input as a recording of this name: what is read has the form that the replay instrument relies on, what is
/// refused has a line and a reason that can be shown. Text of another format is read as that format says.
void CheckRecording(const char* name, Bytes input, const Replay::ReadOptions& options = {});

}  // namespace Lumenar::Fuzz
