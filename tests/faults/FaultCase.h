// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace Lumenar::Test {

/// One row of the fault table: the first line of each fault test. Prints the row for scripts/test-faults, which gathers
/// it.
///
/// `name` is the row's name in docs/reliability.md, `fault` what is done to the system, `must_hold` what the test
/// checks.
void DescribeFault(const std::string& name, const std::string& fault, const std::string& must_hold);

/// A figure that the row shows beside its result, as "DeleteMath answered in 2 ms".
void ReportFigure(const std::string& figure);

/// Whether the long form of the faults is to run (LUMENAR_FAULTS=full in the environment; scripts/test-faults sets it).
/// The short form, part of every test run, does the same with smaller counts.
bool FullLength();

/// A count or duration that depends on the form.
template <class T>
T ByLength(T in_short, T in_full) {
  return FullLength() ? in_full : in_short;
}

/// How often a row tries something: as ByLength, or what LUMENAR_TRIES in the environment says.
long Tries(long in_short, long in_full);

}  // namespace Lumenar::Test
