// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <omniORB4/CORBA.h>

#include <type_traits>

#include "platform/wire/record_kinds.h"

namespace Corvanta {

/// Takes a record out of an any, deeply copied into `out`. False, with `out` untouched, when the any holds another
/// type. T is a record kind: BASIC_TRACE::BT_DATA, VALUE_DOUBLE::VALUE, int or bool.
template <class T>
bool FillVal(T& out, const CORBA::Any& any) {
  using Stored = StoredRecord<T>;
  if constexpr (std::is_same_v<T, Stored>) {
    return RecordKind<T>::FromAny(any, out);
  } else {
    Stored stored{};
    if (!RecordKind<Stored>::FromAny(any, stored)) return false;
    out = static_cast<T>(stored);
    return true;
  }
}

}  // namespace Corvanta
