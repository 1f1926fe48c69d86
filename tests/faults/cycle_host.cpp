// SPDX-License-Identifier: Apache-2.0
// A host for tests: cycle_host LIBRARY COUNT [ARGUMENT]. Loads an engine library and starts and ends the engine COUNT
// times, each time until SIGTERM. Writes "up N", "down N" and "refused N", and "limit BYTES" of a running engine's ORB.
// ARGUMENT takes the place of the last option in the library's list for the ORB; "own-orb" stands for an ORB that this
// host has already.
#include <dlfcn.h>
#include <omniORB4/CORBA.h>

#include <string>

#include "platform/base/Diagnostic.h"
#include "platform/signals/Signals.h"

namespace {

using Lumenar::WriteError;
using Lumenar::WriteOut;

template <class Symbol>
Symbol Find(void* library, const char* name) {
  return reinterpret_cast<Symbol>(dlsym(library, name));
}

/// The last option, which has a value behind it, becomes another one.
void ReplaceLastOption(void* library, char* option) {
  const int count = *Find<int*>(library, "localargc");
  Find<char**>(library, "localargv")[count - 2] = option;
}

bool RunOnce(void* library, int number) {
  void* engine = Find<void* (*)()>(library, "createEngine")();
  if (engine == nullptr) {
    WriteOut("refused " + std::to_string(number));
    return false;
  }
  WriteOut("limit " + std::to_string(omniORB::giopMaxMsgSize()));
  WriteOut("up " + std::to_string(number));
  Find<void (*)()>(library, "joinEngine")();
  Find<int (*)(void*)>(library, "destroyEngine")(engine);
  Lumenar::Signals::Clear();
  WriteOut("down " + std::to_string(number));
  return true;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 3) return 2;
  Lumenar::Signals::Install();
  void* library = dlopen(argv[1], RTLD_NOW);
  if (library == nullptr) {
    WriteError(dlerror());
    return 2;
  }
  CORBA::ORB_var own;
  if (argc > 3 && std::string(argv[3]) == "own-orb") {
    int none = 0;
    own = CORBA::ORB_init(none, nullptr);
  } else if (argc > 3) {
    ReplaceLastOption(library, argv[3]);
  }
  for (int number = 1; number <= std::stoi(argv[2]); ++number) RunOnce(library, number);
  WriteOut("alive");
  return 0;
}
