// SPDX-License-Identifier: Apache-2.0
#include "host/EngineLibrary.h"

#include <dlfcn.h>

#include <filesystem>
#include <vector>

namespace Lumenar {
namespace {

namespace fs = std::filesystem;

bool IsThere(const fs::path& path) {
  std::error_code none;
  return fs::exists(path, none);
}

/// What `name` may mean, most likely first.
std::vector<std::string> Candidates(const std::string& name) {
  if (name.find('/') != std::string::npos) return {name};
  const std::vector<std::string> files = {name, "lib" + name + ".so." ENGINE_SOVERSION};
  std::vector<std::string> candidates;
  std::error_code no_proc;
  const fs::path program = fs::read_symlink("/proc/self/exe", no_proc);
  for (const char* directory : {"../lib", HOST_LIBRARY_DIRECTORY})
    for (const std::string& file : files)
      if (const fs::path path = program.parent_path() / directory / file; !no_proc && IsThere(path))
        candidates.push_back(path.lexically_normal().string());
  candidates.insert(candidates.end(), files.rbegin(), files.rend());
  return candidates;
}

void* Load(const std::string& name) {
  std::string reason;
  for (const std::string& candidate : Candidates(name)) {
    // The loader would open a pipe and wait for somebody to write; what is not there it explains itself.
    std::error_code none;
    if (fs::exists(candidate, none) && !fs::is_regular_file(candidate, none)) {
      if (reason.empty()) reason = candidate + ": is not a regular file";
      continue;
    }
    if (void* library = dlopen(candidate.c_str(), RTLD_NOW | RTLD_LOCAL)) return library;
    if (reason.empty()) reason = dlerror();
  }
  throw EngineLibraryError("cannot load " + name + ": " + reason);
}

template <class Function>
void Find(void* library, const std::string& name, const char* symbol, Function& function) {
  void* address = dlsym(library, symbol);
  if (address == nullptr) throw EngineLibraryError(name + " is no engine: it has no " + symbol);
  function = reinterpret_cast<Function>(address);
}

}  // namespace

EngineLibrary::EngineLibrary(const std::string& name) {
  void* library = Load(name);
  Find(library, name, "createEngine", create_);
  Find(library, name, "joinEngine", join_);
  Find(library, name, "destroyEngine", destroy_);
}

}  // namespace Lumenar
