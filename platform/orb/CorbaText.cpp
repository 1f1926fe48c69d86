// SPDX-License-Identifier: Apache-2.0
#include "platform/orb/CorbaText.h"

#include <fmt/format.h>
#include <omniORB4/minorCode.h>

#include <string_view>

#include "platform/transport/connect_problem.h"

namespace Lumenar {
namespace {

struct Words {
  std::string_view name;
  const char* words;
};

// The kinds of failure that the ORB knows.
constexpr Words kWords[] = {
    {"BAD_INV_ORDER", "it ends, or has not started yet"},
    {"BAD_OPERATION", "it does not know this call: it is of another kind or version"},
    {"BAD_PARAM", "a value is not accepted"},
    {"BAD_TYPECODE", "the message could not be read"},
    {"COMM_FAILURE", "the connection broke"},
    {"IMP_LIMIT", "a limit is reached"},
    {"INITIALIZE", "the way to the platform could not be set up"},
    {"INTERNAL", "a fault within"},
    {"INV_OBJREF", "the reference leads nowhere"},
    {"MARSHAL", "the message could not be read"},
    {"NO_IMPLEMENT", "it cannot do this"},
    {"NO_MEMORY", "no memory"},
    {"NO_PERMISSION", "it is not allowed"},
    {"NO_RESOURCES", "nothing is left of what it needs"},
    {"NO_RESPONSE", "no answer"},
    {"OBJECT_NOT_EXIST", "the object is gone"},
    {"OBJ_ADAPTER", "it ends, or has not started yet"},
    {"PERSIST_STORE", "it cannot store (is its disk full?)"},
    {"TIMEOUT", "no answer within the time limit"},
    {"TRANSIENT", "it cannot be reached now"},
    {"UNKNOWN", "a fault within that it does not explain"},
};

bool IsConnectFailure(const CORBA::Exception& exception) {
  const auto* transient = CORBA::TRANSIENT::_downcast(&exception);
  return transient != nullptr && transient->minor() == omni::TRANSIENT_ConnectFailed;
}

bool IsTimeout(const CORBA::Exception& exception) {
  const auto* transient = CORBA::TRANSIENT::_downcast(&exception);
  return CORBA::TIMEOUT::_downcast(&exception) != nullptr ||
         (transient != nullptr && transient->minor() == omni::TRANSIENT_CallTimedout);
}

std::string LimitText(std::optional<std::chrono::milliseconds> limit) {
  if (!limit) return "the time limit";
  return fmt::format("{:g} s", std::chrono::duration<double>(*limit).count());
}

std::string WithAdvice(const std::string& text, const std::string& advice) {
  return advice.empty() ? text : text + "; " + advice;
}

}  // namespace

std::string CorbaText(const CORBA::Exception& exception) {
  if (IsConnectFailure(exception)) return "no connection";
  if (IsTimeout(exception)) return "no answer within the time limit";
  if (CORBA::SystemException::_downcast(&exception) == nullptr) return exception._name();
  for (const Words& row : kWords) {
    if (row.name == exception._name()) return row.words;
  }
  return exception._name();
}

std::string CorbaText(const CORBA::Exception& exception, const std::string& address) {
  if (!IsConnectFailure(exception) || address.empty()) return CorbaText(exception);
  const std::string problem = Corvanta::ConnectProblem(address);
  return problem.empty() ? "it had no connection to spare, or has just started" : problem;
}

bool IsUnreachable(const CORBA::Exception& exception) {
  return CORBA::TRANSIENT::_downcast(&exception) != nullptr || CORBA::TIMEOUT::_downcast(&exception) != nullptr ||
         CORBA::COMM_FAILURE::_downcast(&exception) != nullptr;
}

std::string CallProblem(const Callee& callee, const CORBA::Exception& exception,
                        std::optional<std::chrono::milliseconds> limit) {
  const std::string who = callee.address.empty() ? callee.name : callee.name + " at " + callee.address;
  if (IsTimeout(exception)) {
    return fmt::format("{} does not answer within {}; it hangs, is stopped, or needs more time", who, LimitText(limit));
  }
  if (CORBA::COMM_FAILURE::_downcast(&exception) != nullptr) {
    return WithAdvice(who + " broke the connection before it answered", callee.advice);
  }
  if (IsUnreachable(exception)) {
    return WithAdvice(fmt::format("{} does not answer ({})", who, CorbaText(exception, callee.address)), callee.advice);
  }
  if (CORBA::OBJECT_NOT_EXIST::_downcast(&exception) != nullptr) return who + " is gone: deleted, or its engine ended";
  return who + ": " + CorbaText(exception);
}

Callee NamingService(const std::string& address) { return {"naming service", address, "is omniNames running?"}; }

}  // namespace Lumenar
