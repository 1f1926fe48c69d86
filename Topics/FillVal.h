#pragma once

#include <omniORB4/CORBA.h>

namespace Corvanta {

/// Takes a record out of an any, deeply copied into `out`. False, with `out` untouched, when the any holds another type.
/// Each record kind's owner defines it: BASIC_TRACE::BT_DATA, VALUE_DOUBLE::VALUE, int and bool in platform/components.
template <class T>
bool FillVal(T& out, const CORBA::Any& any);

}  // namespace Corvanta
