// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stdexcept>
#include <string>

namespace Lumenar {

/// A library that cannot be used as an engine: which one, and why.
class EngineLibraryError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// An engine library in this process. It stays loaded until the process ends, because the ORB and its threads hold
/// pointers into it.
class EngineLibrary {
 public:
  /// Loads a library by path or by name: "math_factory_hh", also with "lib" and ".so.1" around it. A bare name is
  /// looked for beside this program (../lib) before the loader's own places.
  /// Errors   EngineLibraryError when it cannot be loaded or lacks an entry point.
  explicit EngineLibrary(const std::string& name);

  void* Create() const { return create_(); }
  void Join() const { join_(); }
  int Destroy(void* engine) const { return destroy_(engine); }

 private:
  void* (*create_)();
  void (*join_)();
  int (*destroy_)(void*);
};

}  // namespace Lumenar
