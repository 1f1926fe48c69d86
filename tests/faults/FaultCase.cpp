// SPDX-License-Identifier: Apache-2.0
#include "tests/faults/FaultCase.h"

#include <cstdio>
#include <cstdlib>
#include <string_view>

namespace Lumenar::Test {

// Past std::cout, whose buffer a test may have taken.
void DescribeFault(const std::string& name, const std::string& fault, const std::string& must_hold) {
  std::printf("FAULT\t%s\t%s\t%s\n", name.c_str(), fault.c_str(), must_hold.c_str());
  std::fflush(stdout);
}

void ReportFigure(const std::string& figure) {
  std::printf("FIGURE\t%s\n", figure.c_str());
  std::fflush(stdout);
}

bool FullLength() {
  const char* form = std::getenv("LUMENAR_FAULTS");
  return form != nullptr && std::string_view(form) == "full";
}

long Tries(long in_short, long in_full) {
  const char* tries = std::getenv("LUMENAR_TRIES");
  return tries != nullptr ? std::strtol(tries, nullptr, 10) : ByLength(in_short, in_full);
}

}  // namespace Lumenar::Test
