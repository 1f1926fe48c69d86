// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace Lumenar {

/// The typed value on which operations compute: BASIC_TRACE::BT_DATA (MathValueBasicTrace.h), VALUE_DOUBLE::VALUE
/// (MathValueValueDouble.h) and int (MathValueLong.h). Each is built from a client's reading, or from a record.
template <class T>
class MathValue;

/// a - b, in the unit of a. Defined for BT_DATA and VALUE.
/// Errors   the value library's.
template <class T>
MathValue<T> operator-(const MathValue<T>& a, const MathValue<T>& b);

/// The distance of two levels, in the unit of a. Defined for BT_DATA and VALUE.
/// Errors   OperationNotValid when neither is in dB; MissingUnitInFirstParameter; UnitDimensionNotSame.
template <class T>
MathValue<T> RelativeSub(const MathValue<T>& a, const MathValue<T>& b);

/// The sum of a trace's samples from start to stop, both inclusive. Defined for VALUE of BT_DATA, int and int.
template <class Result, class Trace, class Start, class Stop>
MathValue<Result> CumulativeAdd(const MathValue<Trace>& trace, const MathValue<Start>& start,
                                const MathValue<Stop>& stop);

}  // namespace Lumenar
