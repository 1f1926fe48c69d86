// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <nlohmann/json_fwd.hpp>
#include <string>
#include <vector>

#include "client/Connection.h"
#include "tools/math_web/PlatformLook.h"
#include "tools/math_web/Request.h"
#include "tools/math_web/metrics_text.h"

namespace Lumenar::Web {

/// What clients ask for besides streams, done by calls to other processes.
/// Threads  any.
class Commands {
 public:
  /// `factory` is the math engine that "math:3" is of, where objects are created and which save is about.
  Commands(Client::Connection& connection, std::string factory, PlatformLook& look);

  /// What the answer tells, see docs/web.md.
  /// Errors   Client::Error.
  nlohmann::json Do(const Request& request);

  /// The types of math objects, as the welcome tells them: those that the engine offers; while it is away, those that
  /// are known here.
  /// Errors   none.
  nlohmann::json MathTypes();

  /// The present numbers of all scalars and whole numbers, of a limited number of them. An engine that does not answer
  /// is asked once.
  /// Errors   none.
  std::vector<PresentNumber> Numbers(const Snapshot& snapshot);

 private:
  nlohmann::json Create(const Request& request);
  nlohmann::json Fitting(const Request& request);
  void Set(const Request& request);
  void Reset(const std::string& name);
  void Delete(const std::string& name);
  nlohmann::json Save();
  nlohmann::json Csv(const std::string& name);
  nlohmann::json Get(const std::string& name);

  Client::Connection& connection_;
  const std::string factory_;
  PlatformLook& look_;
};

}  // namespace Lumenar::Web
