#pragma once

#include "BASIC_TRACE.hh"

namespace Lumenar {

/// Copies every field; the samples in one block, into the buffer that is there when it is large enough.
/// Shape   any length, also 0; a record onto itself changes nothing.      Errors   std::bad_alloc, with `to` unchanged.
void CopyRecord(Corvanta::BASIC_TRACE::BT_DATA& to, const Corvanta::BASIC_TRACE::BT_DATA& from);

/// The same without a copy of the samples where `from` owns its buffer, which `to` takes over; `from` is then without
/// samples.
void TakeRecord(Corvanta::BASIC_TRACE::BT_DATA& to, Corvanta::BASIC_TRACE::BT_DATA& from);

}  // namespace Lumenar
