// SPDX-License-Identifier: Apache-2.0
// The entry of one fuzz program; FUZZ_TARGET names its target.
#include <cstdio>
#include <cstdlib>

#include "tests/fuzz/Violation.h"
#include "tests/fuzz/targets.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  try {
    Lumenar::Fuzz::FUZZ_TARGET({data, size});
  } catch (const Lumenar::Fuzz::Violation& violation) {
    std::fprintf(stderr, "does not hold: %s\n", violation.rule.c_str());
    std::abort();
  }
  return 0;
}
