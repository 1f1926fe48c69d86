// SPDX-License-Identifier: Apache-2.0
#include "client/Error.h"

#include <fmt/format.h>
#include <omniORB4/Naming.hh>

#include "EngineAttrib.hh"
#include "MathFactory.hh"
#include "client/Text.h"
#include "platform/orb/CorbaText.h"

namespace Lumenar::Client {
namespace {

ErrorKind KindOf(const CORBA::Exception& exception) {
  if (CORBA::OBJECT_NOT_EXIST::_downcast(&exception) != nullptr) return ErrorKind::NotFound;
  if (CosNaming::NamingContext::NotFound::_downcast(&exception) != nullptr) return ErrorKind::NotFound;
  if (CORBA::TRANSIENT::_downcast(&exception) != nullptr || CORBA::TIMEOUT::_downcast(&exception) != nullptr ||
      CORBA::COMM_FAILURE::_downcast(&exception) != nullptr) {
    return ErrorKind::Unreachable;
  }
  return ErrorKind::Refused;
}

std::string Reason(const CORBA::Exception& exception) {
  if (const auto* refused = Corvanta::MathFactory::MathFactoryException::_downcast(&exception)) {
    return Printable(refused->text.in());
  }
  if (const auto* limits = Corvanta::LimitsExceeded::_downcast(&exception)) {
    return fmt::format("{} is outside the limits {} to {}", limits->value, limits->lower, limits->upper);
  }
  if (CosNaming::NamingContext::NotFound::_downcast(&exception) != nullptr) return "not registered";
  return CorbaText(exception);
}

}  // namespace

Error ErrorFrom(const CORBA::Exception& exception, const std::string& subject) {
  return {KindOf(exception), subject + ": " + Reason(exception)};
}

}  // namespace Lumenar::Client
