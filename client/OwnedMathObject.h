// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "client/MathObjects.h"

namespace Lumenar::Client {

/// A math object that is deleted when its owner goes. Must go before its MathObjects.
/// Threads   one.
class OwnedMathObject {
 public:
  /// Creates it. Errors   those of MathObjects::Create.
  OwnedMathObject(MathObjects& objects, const std::string& type, const std::vector<std::string>& inputs);

  /// Deletes it; where the engine cannot be asked, a line on standard error says that the object stays.
  ~OwnedMathObject();

  OwnedMathObject(const OwnedMathObject&) = delete;
  OwnedMathObject& operator=(const OwnedMathObject&) = delete;

  std::int32_t Id() const noexcept { return id_; }

 private:
  MathObjects& objects_;
  const std::int32_t id_;
};

}  // namespace Lumenar::Client
