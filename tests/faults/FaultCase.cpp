#include "tests/faults/FaultCase.h"

#include <cstdlib>
#include <iostream>
#include <string_view>

namespace Lumenar::Test {

void DescribeFault(const std::string& name, const std::string& fault, const std::string& must_hold) {
  std::cout << "FAULT\t" << name << '\t' << fault << '\t' << must_hold << std::endl;
}

void ReportFigure(const std::string& figure) { std::cout << "FIGURE\t" << figure << std::endl; }

bool FullLength() {
  const char* form = std::getenv("LUMENAR_FAULTS");
  return form != nullptr && std::string_view(form) == "full";
}

}  // namespace Lumenar::Test
