// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <omniORB4/CORBA.h>

#include <cstddef>
#include <type_traits>
#include <utility>
#include <variant>

#include "platform/records/SampleRecord.h"

namespace Corvanta {

/// A type, as far as the layout of its values depends on it: names of members and aliases do not count.
struct WireType {
  CORBA::ULong kind;
  const char* id = nullptr;         ///< of a struct
  const WireType* parts = nullptr;  ///< the members of a struct; the one element type of an array or sequence
  CORBA::ULong count = 0;           ///< of members; of elements; 0 for an unbounded sequence
};

/// What is known of a kind of record, T as SampleRecord stores it: everything that handles all kinds, or any, asks here.
///   kName      in diagnostic lines
///   kTypeName  as in TypeInfo
///   kType      its type in messages
///   TypeCode   the same for the ORB
///   Read       it off the wire.      Errors   CORBA::MARSHAL for a length that claims more than there is
///   Write      it to the wire
///   FromAny    takes it out of an any; false, with `out` untouched, when the any holds another type
///   IntoAny    puts it into an any
template <class T>
struct RecordKind;

/// A record to be sent, not owned: structures by address.
template <class T>
using RecordView = std::conditional_t<std::is_class_v<T>, const T*, T>;

/// What the kinds have in common that are structures of an interface definition.
template <class T>
struct StructureKind {
  static void Read(cdrStream& stream, T& record) { record <<= stream; }
  static void Write(const T& record, cdrStream& stream) { record >>= stream; }
  static bool FromAny(const CORBA::Any& any, T& out) {
    const T* record = nullptr;  // stays owned by the any
    if (!(any >>= record)) return false;
    out = *record;
    return true;
  }
  static void IntoAny(const T& record, CORBA::Any& any) { any <<= record; }
};

template <>
struct RecordKind<BASIC_TRACE::BT_DATA> : StructureKind<BASIC_TRACE::BT_DATA> {
  static constexpr const char* kName = "Corvanta::BASIC_TRACE::BT_DATA";
  static constexpr const char* kTypeName = "BasicTrace";
  static const WireType kType;
  static CORBA::TypeCode_ptr TypeCode() { return BASIC_TRACE::_tc_BT_DATA; }

  /// Its samples take memory as they are found to be there. The generated code multiplies a length that lies beyond what
  /// a 32-bit processor can hold, and believes it then.
  static void Read(cdrStream& stream, BASIC_TRACE::BT_DATA& trace);

  /// All in front of the samples in two pieces: a sample is counted before it is written, member by member in the
  /// generated code.
  static void Write(const BASIC_TRACE::BT_DATA& trace, cdrStream& stream);
};

template <>
struct RecordKind<VALUE_DOUBLE::VALUE> : StructureKind<VALUE_DOUBLE::VALUE> {
  static constexpr const char* kName = "Corvanta::VALUE_DOUBLE::VALUE";
  static constexpr const char* kTypeName = "ValueDouble";
  static const WireType kType;
  static CORBA::TypeCode_ptr TypeCode() { return VALUE_DOUBLE::_tc_VALUE; }
};

template <>
struct RecordKind<CORBA::Long> {
  static constexpr const char* kName = "int";  // as engines see it
  static constexpr const char* kTypeName = "long";
  static constexpr WireType kType{CORBA::tk_long};
  static CORBA::TypeCode_ptr TypeCode() { return CORBA::_tc_long; }
  static void Read(cdrStream& stream, CORBA::Long& number) { number = stream.unmarshalLong(); }
  static void Write(CORBA::Long number, cdrStream& stream) { stream.marshalLong(number); }
  static bool FromAny(const CORBA::Any& any, CORBA::Long& out) {
    CORBA::Long number = 0;
    if (!(any >>= number)) return false;
    out = number;
    return true;
  }
  static void IntoAny(CORBA::Long number, CORBA::Any& any) { any <<= number; }
};

template <>
struct RecordKind<bool> {
  static constexpr const char* kName = "bool";
  static constexpr const char* kTypeName = "boolean";
  static constexpr WireType kType{CORBA::tk_boolean};
  static CORBA::TypeCode_ptr TypeCode() { return CORBA::_tc_boolean; }
  static void Read(cdrStream& stream, bool& truth) { truth = stream.unmarshalBoolean(); }
  static void Write(bool truth, cdrStream& stream) { stream.marshalBoolean(truth); }
  static bool FromAny(const CORBA::Any& any, bool& out) {
    CORBA::Boolean truth = false;
    if (!(any >>= CORBA::Any::to_boolean(truth))) return false;
    out = truth;
    return true;
  }
  static void IntoAny(bool truth, CORBA::Any& any) { any <<= CORBA::Any::from_boolean(truth); }
};

/// The number of a kind: its place in SampleRecord. 0 stands for records of no kind.
using RecordNumber = std::size_t;
inline constexpr RecordNumber kNoRecord = 0;

namespace detail {

template <class Kinds>
struct KindList;

template <class... T>
struct KindList<std::variant<std::monostate, T...>> {
  using View = std::variant<RecordView<T>...>;

  template <class Visit>
  static bool AnyOf(Visit&& visit) {
    return (visit.template operator()<T>() || ...);
  }

  template <class Wanted>
  static constexpr RecordNumber NumberOf() {
    RecordNumber number = 0;
    static_cast<void>(((++number, std::is_same_v<T, Wanted>) || ...));
    return number;
  }
};

using Kinds = KindList<SampleRecordKinds>;

}  // namespace detail

/// A sample to be sent, not owned.
using SampleView = detail::Kinds::View;

/// The number of the kind T.
template <class T>
inline constexpr RecordNumber kRecordNumber = detail::Kinds::NumberOf<StoredRecord<T>>();

/// Calls visit.operator()<T>() for each kind in turn until it says true; whether it did.
template <class Visit>
bool AnyRecordKind(Visit&& visit) {
  return detail::Kinds::AnyOf(std::forward<Visit>(visit));
}

/// The view of one record; a long may come as int.
template <class T>
SampleView ViewOf(const T& record) {
  using Stored = StoredRecord<T>;
  if constexpr (std::is_class_v<Stored>) {
    return SampleView(std::in_place_type<RecordView<Stored>>, &record);
  } else {
    return SampleView(std::in_place_type<Stored>, record);
  }
}

/// Errors   CORBA::BAD_PARAM for a record of no kind.
SampleView ViewOf(const SampleRecord& record);

/// Calls visit(record), a const T& of one of the kinds.
template <class Visit>
decltype(auto) VisitView(const SampleView& view, Visit&& visit) {
  return std::visit(
      [&visit]<class View>(const View& record) -> decltype(auto) {
        if constexpr (std::is_pointer_v<View>) {
          return visit(*record);
        } else {
          return visit(record);
        }
      },
      view);
}

}  // namespace Corvanta
