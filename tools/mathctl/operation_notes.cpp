// SPDX-License-Identifier: Apache-2.0
#include "tools/mathctl/operation_notes.h"

#include <algorithm>
#include <iterator>

namespace Lumenar::Mathctl {
namespace {

constexpr OperationNote kOperationNotes[] = {
    {"Subtract", "two traces or two scalars", "the first minus the second, in the unit of the first"},
    {"RelativeSubtract", "two traces or two scalars, one of them in dB",
     "the level of the first above the second, in dB of the first one's unit"},
    {"Average", "a trace or a scalar", "the mean of its last SIZE samples"},
    {"Peak", "a trace or a scalar", "the largest value since RESET"},
    {"CumulativeAdd", "a trace and two readings of whole numbers, START and STOP",
     "the sum of the samples from START to STOP"},
};

}  // namespace

const OperationNote* NoteOf(std::string_view type) {
  const auto note = std::find_if(std::begin(kOperationNotes), std::end(kOperationNotes),
                                 [&](const OperationNote& known) { return known.type == type; });
  return note == std::end(kOperationNotes) ? nullptr : note;
}

}  // namespace Lumenar::Mathctl
