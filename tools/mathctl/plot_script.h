// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "tools/mathctl/Chart.h"

namespace Lumenar::Mathctl {

/// The kinds of picture that gnuplot draws for us, each the ending of its files.
enum class PictureKind { Png, Svg, Pdf };

/// A gnuplot script that writes a picture of a chart to standard output: one panel below the other, all of one width. No
/// text of a name can become a command.
std::string PlotScript(const Chart& chart, PictureKind kind);

}  // namespace Lumenar::Mathctl
