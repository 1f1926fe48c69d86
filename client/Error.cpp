// SPDX-License-Identifier: Apache-2.0
#include "client/Error.h"

#include <fmt/format.h>
#include <omniORB4/Naming.hh>

#include <atomic>
#include <optional>

#include "EngineAttrib.hh"
#include "MathFactory.hh"
#include "client/Text.h"
#include "platform/orb/ORB_base.h"
#include "platform/wire/reference_endpoint.h"

namespace Lumenar::Client {
namespace {

// In milliseconds; 0: nobody has told it.
std::atomic<long> call_limit_ms{0};

std::optional<std::chrono::milliseconds> CallLimit() {
  const long limit = call_limit_ms;
  return limit > 0 ? std::optional(std::chrono::milliseconds(limit)) : std::nullopt;
}

ErrorKind KindOf(const CORBA::Exception& exception) {
  if (CORBA::OBJECT_NOT_EXIST::_downcast(&exception) != nullptr) return ErrorKind::NotFound;
  if (CosNaming::NamingContext::NotFound::_downcast(&exception) != nullptr) return ErrorKind::NotFound;
  return IsUnreachable(exception) ? ErrorKind::Unreachable : ErrorKind::Refused;
}

// Of an exception of an interface: empty for others.
std::string InterfaceSentence(const CORBA::Exception& exception) {
  if (const auto* refused = Corvanta::MathFactory::MathFactoryException::_downcast(&exception)) {
    return Printable(refused->text.in());
  }
  if (const auto* limits = Corvanta::LimitsExceeded::_downcast(&exception)) {
    return fmt::format("{} is outside the limits {} to {}", limits->value, limits->lower, limits->upper);
  }
  const bool unknown = CosNaming::NamingContext::NotFound::_downcast(&exception) != nullptr;
  return unknown ? "not registered" : "";
}

}  // namespace

void NoteCallLimit(std::chrono::milliseconds limit) { call_limit_ms = static_cast<long>(limit.count()); }

Error ErrorFrom(const CORBA::Exception& exception, const Callee& callee) {
  const std::string sentence = InterfaceSentence(exception);
  return {KindOf(exception),
          sentence.empty() ? CallProblem(callee, exception, CallLimit()) : callee.name + ": " + sentence};
}

Error ErrorFrom(const CORBA::Exception& exception, const std::string& subject) {
  return ErrorFrom(exception, Callee{subject, "", ""});
}

std::string AddressOf(CORBA::Object_ptr object) {
  if (CORBA::is_nil(object) || !Corvanta::ORB_base::HasCurrent()) return {};
  try {
    const CORBA::String_var reference = Corvanta::ORB_base::Current().Orb()->object_to_string(object);
    return EndpointOf(reference.in());
  } catch (const CORBA::SystemException&) {  // the ORB ends meanwhile
    return {};
  }
}

Callee CalleeAt(const std::string& name, CORBA::Object_ptr object, const std::string& advice) {
  return {name, Printable(AddressOf(object)), advice};
}

}  // namespace Lumenar::Client
