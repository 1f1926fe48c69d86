// SPDX-License-Identifier: Apache-2.0
// Loaded in front of libsigrok, it makes a driver hang where HANGING_DRIVER says: "stop", it goes on when it is told to
// stop; "scan", it waits for a device for ever; "run", it comes to nothing else any more.
#include <dlfcn.h>
#include <unistd.h>

#include <cstdlib>
#include <string_view>

namespace {

bool HangsAt(std::string_view place) {
  const char* told = std::getenv("HANGING_DRIVER");
  return told != nullptr && place == told;
}

/// The library's own function. An engine loads the library for itself alone, so that it is not among the next ones.
void* Original(const char* name) {
  static void* const library = dlopen("libsigrok.so.4", RTLD_LAZY | RTLD_NOLOAD);
  return dlsym(library, name);
}

void HangAt(std::string_view place) {
  while (HangsAt(place)) pause();
}

}  // namespace

extern "C" {

#define SHOWN __attribute__((visibility("default")))

SHOWN int sr_session_stop(void* session) {
  if (HangsAt("stop")) return 0;
  return reinterpret_cast<int (*)(void*)>(Original("sr_session_stop"))(session);
}

SHOWN void* sr_driver_scan(void* driver, void* options) {
  HangAt("scan");
  return reinterpret_cast<void* (*)(void*, void*)>(Original("sr_driver_scan"))(driver, options);
}

SHOWN int sr_session_run(void* session) {
  HangAt("run");
  return reinterpret_cast<int (*)(void*)>(Original("sr_session_run"))(session);
}

}  // extern "C"
