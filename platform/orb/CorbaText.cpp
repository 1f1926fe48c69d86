// SPDX-License-Identifier: Apache-2.0
#include "platform/orb/CorbaText.h"

#include <fmt/format.h>

namespace Lumenar {
namespace {

const char* CompletionText(CORBA::CompletionStatus status) {
  switch (status) {
    case CORBA::COMPLETED_YES: return "completed";
    case CORBA::COMPLETED_NO: return "not completed";
    default: return "perhaps completed";
  }
}

}  // namespace

std::string CorbaText(const CORBA::Exception& exception) {
  const auto* system = CORBA::SystemException::_downcast(&exception);
  if (system == nullptr) return exception._name();
  const char* minor = system->NP_minorString();
  const std::string minor_text = minor != nullptr ? minor : fmt::format("minor {:#x}", system->minor());
  return fmt::format("{} ({}, {})", system->_name(), minor_text, CompletionText(system->completed()));
}

}  // namespace Lumenar
