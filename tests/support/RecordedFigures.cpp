// SPDX-License-Identifier: Apache-2.0
#include "tests/support/RecordedFigures.h"

#include <ostream>

namespace Lumenar::Test {
namespace {

RecordedFigures CutShort() {
  RecordedFigures figures;
  figures.name = "CutShort";
  figures.folder = LUMENAR_TEST_DATA "/recorded/";
  figures.reflection = {.open = "reflection_open.s1p",
                        .shorted = "reflection_short.s1p",
                        .points = 250,
                        .differences = {{0, 0.00821672}, {99, -0.03886776}},
                        .mean = -0.04133573,
                        .lowest = {243, -0.07856777},
                        .highest = {0, 0.00821672}};
  figures.ring_slot = "ring_slot.s1p";
  figures.sweeps = {.file = "sweeps.csv",
                    .bins = 60,
                    .mean_of_levels = -5.310405,
                    .mean_of_powers = -3.525340,
                    .mean_of_peaks = -0.717667,
                    .loud_bin = 17,
                    .summed_bins = 50,
                    .sum = 189.084404};
  figures.fibre = {.file = "fibre.csv", .points = 600, .lowest = -47.742, .highest = -47.399, .mean = -47.63667};
  figures.scope = {.first = "scope_1.csv",
                   .second = "scope_2.csv",
                   .points = 400,
                   .step_s = 2e-6,
                   .mean_V = -0.01878129,
                   .deviation_V = 0.02405996};
  return figures;
}

RecordedFigures Whole(const std::string& folder) {
  RecordedFigures figures;
  figures.name = "Whole";
  figures.folder = folder + "/";
  figures.reflection = {.open = "touchstone/P1-MSL_Open_50.s1p",
                        .shorted = "touchstone/P1-MSL_Short_50.s1p",
                        .points = 10000,
                        .differences = {{0, 0.00821672}, {999, 0.05400386}},
                        .mean = -0.34319862,
                        .lowest = {6523, -8.50365489},
                        .highest = {7049, 2.04834116}};
  figures.ring_slot = "touchstone/ring_slot_measured.s1p";
  figures.sweeps = {.file = "rtl_power/sweeps_80M-999M_7x920.csv",
                    .bins = 920,
                    .mean_of_levels = -20.507801,
                    .mean_of_powers = -20.294550,
                    .mean_of_peaks = -19.719380,
                    .loud_bin = 707,
                    .summed_bins = 100,
                    .sum = 3.45016857};
  figures.fibre = {
      .file = "otdr/example.csv", .points = 15676, .lowest = -63.999, .highest = -23.832, .mean = -52.15547793};
  figures.scope = {.first = "scope/scope_13_1.csv",
                   .second = "scope/scope_13_2.csv",
                   .points = 10000,
                   .step_s = 0.2e-6,
                   .mean_V = -0.01713442,
                   .deviation_V = 0.02422947};
  return figures;
}

}  // namespace

void PrintTo(const RecordedFigures& figures, std::ostream* stream) { *stream << figures.name; }

std::vector<RecordedFigures> RecordedSets() {
  std::vector<RecordedFigures> sets{CutShort()};
  if (const std::string folder = LUMENAR_RECORDED_DATA; !folder.empty()) sets.push_back(Whole(folder));
  return sets;
}

}  // namespace Lumenar::Test
