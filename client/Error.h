// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <omniORB4/CORBA.h>

#include <stdexcept>
#include <string>

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

/// A CORBA exception as an Error; `subject` says who was called and opens the text.
Error ErrorFrom(const CORBA::Exception& exception, const std::string& subject);

/// Calls `function`; a CORBA exception that leaves it becomes an Error about `subject`.
template <class Function>
auto Remote(const std::string& subject, Function&& function) {
  try {
    return function();
  } catch (const CORBA::Exception& exception) {
    throw ErrorFrom(exception, subject);
  }
}

}  // namespace Lumenar::Client
