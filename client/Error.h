// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <omniORB4/CORBA.h>

#include <chrono>
#include <stdexcept>
#include <string>

#include "platform/orb/CorbaText.h"

namespace Lumenar::Client {

/// What a caller can do about a failure.
enum class ErrorKind {
  NotFound,     ///< nothing has this name or id: look it up again
  Refused,      ///< the other side understood and said no: its sentence tells why
  Unreachable,  ///< the other side is away or did not answer within the time limit: try later
  BadArgument,  ///< the request makes no sense: correct it
};

/// The one exception of the client library.
class Error : public std::runtime_error {
 public:
  Error(ErrorKind kind, const std::string& text) : std::runtime_error(text), kind_(kind) {}
  ErrorKind Kind() const noexcept { return kind_; }

 private:
  ErrorKind kind_;
};

/// What to look at when an engine does not answer.
inline constexpr char kEngineAdvice[] = "is its engine_host running?";

/// The time limit of calls, which errors name: the longest of those of the Connections, as SharedOrb tells it.
void NoteCallLimit(std::chrono::milliseconds limit);

/// A CORBA exception as an Error; `subject` says who was called and opens the text.
Error ErrorFrom(const CORBA::Exception& exception, const std::string& subject);

/// The same, with where the one who was called is and what to do when there is no answer.
Error ErrorFrom(const CORBA::Exception& exception, const Callee& callee);

/// "HOST:PORT" of the process behind a reference, or "unix:PATH"; empty when unknown.
std::string AddressOf(CORBA::Object_ptr object);

/// Somebody of a name at the address in a reference; `advice` as in Callee.
Callee CalleeAt(const std::string& name, CORBA::Object_ptr object, const std::string& advice);

/// Calls `function`; a CORBA exception that leaves it becomes an Error about `subject`.
template <class Function>
auto Remote(const std::string& subject, Function&& function) {
  try {
    return function();
  } catch (const CORBA::Exception& exception) {
    throw ErrorFrom(exception, subject);
  }
}

/// The same for a call to the object that is known as `subject`: what goes wrong tells its address, and `advice` as in
/// Callee.
template <class Function>
auto Remote(const std::string& subject, CORBA::Object_ptr object, const std::string& advice, Function&& function) {
  try {
    return function();
  } catch (const CORBA::Exception& exception) {
    throw ErrorFrom(exception, CalleeAt(subject, object, advice));
  }
}

}  // namespace Lumenar::Client
