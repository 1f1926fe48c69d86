#include "platform/base/Diagnostic.h"

#include <iostream>

#include "platform/base/Mutex.h"

namespace Lumenar {
namespace {

Mutex& OutputMutex() {
  static Mutex mutex;
  return mutex;
}

void WriteLine(std::ostream& stream, std::string_view line) {
  Lock lock(OutputMutex());
  stream << line << std::endl;
}

}  // namespace

void WriteOut(std::string_view line) { WriteLine(std::cout, line); }

void WriteError(std::string_view line) { WriteLine(std::cerr, line); }

}  // namespace Lumenar
