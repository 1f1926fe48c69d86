// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <omniORB4/CORBA.h>

#include <cstdint>
#include <functional>

#include "BASIC_TRACE.hh"
#include "platform/wire/any_guard.h"

namespace Corvanta {

/// Makes a message go out whole: counts what `write` will write to `stream`, behind what it has written already, and
/// announces it. Left to itself, the ORB sends a message of more than 8 kB whose size it does not know in fragments,
/// which a receiver must put together again. Streams that are no messages, and messages that are whole anyway, are left
/// alone.
/// Errors   CORBA::IMP_LIMIT when the message is larger than this process sends.
void AnnounceSize(cdrStream& stream, const std::function<void(cdrStream&)>& write);

/// Below so many bytes of samples there is no need to: the message fits in the ORB's buffer.
inline constexpr CORBA::ULong kFitsTheBuffer = 4096;

/// Writes arguments or results with so many bytes of samples, so that their message goes out whole.
template <class Write>
void WriteWhole(cdrStream& stream, std::uint64_t bytes, Write&& write) {
  if (bytes >= kFitsTheBuffer) AnnounceSize(stream, write);
  write(stream);
}

/// The operation Get of a reading of traces, called by another process: its answer goes out whole. A GuardedServant
/// offers its calls to this function; it returns false, having done nothing, when the operation is another one. `get`
/// returns a trace that is the caller's; what it throws reaches the client.
bool DispatchGet(IncomingCall& call, const std::function<BASIC_TRACE::BT_DATA*()>& get);

}  // namespace Corvanta
