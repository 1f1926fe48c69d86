// SPDX-License-Identifier: Apache-2.0
#include "client/OwnedMathObject.h"

#include <fmt/format.h>

#include <exception>

#include "platform/base/Diagnostic.h"

namespace Lumenar::Client {

OwnedMathObject::OwnedMathObject(MathObjects& objects, const std::string& type, const std::vector<std::string>& inputs)
    : objects_(objects), id_(objects.Create(type, inputs).id) {}

OwnedMathObject::~OwnedMathObject() {
  try {
    objects_.Delete(id_);
  } catch (const std::exception& error) {
    WriteError(fmt::format("math object {} stays: {}", id_, error.what()));
  }
}

}  // namespace Lumenar::Client
