// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <omniORB4/CORBA.h>

#include <chrono>
#include <optional>
#include <string>

namespace Lumenar {

/// Why a call failed, in words for people, as "no connection" or "a limit is reached"; an exception of an interface is
/// its name.
std::string CorbaText(const CORBA::Exception& exception);

/// The same of a call to a process at "HOST:PORT" or "unix:PATH": where no connection came about, one more is tried, for
/// 250 ms at most, to find out why: as "connection refused".
std::string CorbaText(const CORBA::Exception& exception, const std::string& address);

/// Whether nobody answered, so that the same call may succeed later.
bool IsUnreachable(const CORBA::Exception& exception);

/// Who was called.
struct Callee {
  std::string name;     ///< as people know it: "naming service", "PROBE/1"
  std::string address;  ///< of its process, as in CorbaText; empty when unknown
  std::string advice;   ///< what to look at when nobody answers: "is omniNames running?"; may be empty
};

/// Who, where, why, and what to do: "naming service at 127.0.0.1:2700 does not answer (connection refused); is omniNames
/// running?". `limit` is that of the call, where it is known.
std::string CallProblem(const Callee& callee, const CORBA::Exception& exception,
                        std::optional<std::chrono::milliseconds> limit = std::nullopt);

/// The naming service as somebody who is called.
Callee NamingService(const std::string& address);

}  // namespace Lumenar
