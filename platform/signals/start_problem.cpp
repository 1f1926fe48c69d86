// SPDX-License-Identifier: Apache-2.0
#include "platform/signals/start_problem.h"

#include <new>

#include "platform/base/Mutex.h"

namespace Lumenar {
namespace {

struct Told {
  Mutex mutex;
  std::string problem GUARDED_BY(mutex);
};

Told& WhatWasTold() {
  static Told told;
  return told;
}

}  // namespace

void TellStartProblem(const std::string& problem) noexcept {
  Told& told = WhatWasTold();
  Lock lock(told.mutex);
  try {
    told.problem = problem;
  } catch (const std::bad_alloc&) {  // the library's own line has to do
  }
}

std::string StartProblem() {
  Told& told = WhatWasTold();
  Lock lock(told.mutex);
  return told.problem;
}

}  // namespace Lumenar
