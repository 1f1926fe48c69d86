// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <iosfwd>
#include <string>
#include <utility>
#include <vector>

namespace Lumenar::Test {

/// A set of recorded measurements with the figures that a program of its own computed from its files. Levels are in dB.
struct RecordedFigures {
  struct Place {
    std::ptrdiff_t index;
    double level;
  };

  std::string name;    ///< of the set, as part of a test's name
  std::string folder;  ///< with a '/' at its end; files are named from there

  struct {
    std::string open, shorted;  ///< files
    std::size_t points;
    std::vector<Place> differences;  ///< open minus shorted, some of them
    double mean;                     ///< and of all of them
    Place lowest, highest;
  } reflection;

  std::string ring_slot;  ///< a file with a comment after every point; 101 points, 0.35 GHz apart

  struct {
    std::string file;  ///< seven sweeps
    std::size_t bins;
    double mean_of_levels, mean_of_powers, mean_of_peaks;  ///< over all bins, of what is made of the seven in each bin
    std::size_t loud_bin;                                  ///< at 787 MHz, with one sweep far above the others
    std::size_t summed_bins;                               ///< the first so many of the first sweep
    double sum;                                            ///< of their powers, as a power
  } sweeps;

  struct {
    std::string file;
    std::size_t points;
    double lowest, highest, mean;
  } fibre;

  struct {
    std::string first, second;  ///< files
    std::size_t points;
    double step_s;
    double mean_V, deviation_V;  ///< of first minus second
  } scope;

  std::string File(const std::string& file) const { return folder + file; }
};

void PrintTo(const RecordedFigures& figures, std::ostream* stream);

/// The recordings cut short that stand in tests/data, and the whole ones where the build was told their folder.
std::vector<RecordedFigures> RecordedSets();

}  // namespace Lumenar::Test
