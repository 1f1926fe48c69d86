// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <omniORB4/CORBA.h>

#include "BASIC_TRACE.hh"
#include "VALUE_DOUBLE.hh"

namespace Corvanta {

/// Takes a record out of an any, deeply copied into `out`. False, with `out` untouched, when the any holds another
/// type. Each record kind's owner defines it: BASIC_TRACE::BT_DATA, VALUE_DOUBLE::VALUE, int and bool in
/// platform/components.
template <class T>
bool FillVal(T& out, const CORBA::Any& any);

template <>
bool FillVal<BASIC_TRACE::BT_DATA>(BASIC_TRACE::BT_DATA& out, const CORBA::Any& any);
template <>
bool FillVal<VALUE_DOUBLE::VALUE>(VALUE_DOUBLE::VALUE& out, const CORBA::Any& any);
template <>
bool FillVal<int>(int& out, const CORBA::Any& any);
template <>
bool FillVal<bool>(bool& out, const CORBA::Any& any);

}  // namespace Corvanta
