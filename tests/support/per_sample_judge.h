// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <cmath>
#include <limits>
#include <sstream>
#include <string>
#include <vector>

#include "BASIC_TRACE.hh"
#include "MathFactory.hh"
#include "platform/records/Records.h"
#include "platform/value/Value_object.h"

namespace Lumenar::Test {

/// The trace value by its rule, one Value_object<float> for each sample: slow, plain, and independent of the engine's
/// code. It decides what the engine's traces must give, bit for bit. What it would print goes to `out`.
class PerSampleTrace {
 public:
  using Record = Corvanta::BASIC_TRACE::BT_DATA;
  using Sample = Value::Value_object<float>;
  using Units = Value::Units;
  using Library = Value::Units_library;
  using Refusal = Corvanta::MathFactory::MathFactoryException;
  using ValueOperator = Sample& (Sample::*)(const Sample&);
  using NumberOperator = Sample& (Sample::*)(const float&);

  PerSampleTrace(const Record& source, std::ostream& lines) : record(source), out_(lines) {}
  PerSampleTrace(const PerSampleTrace& other) : record(other.record), out_(other.out_) {}

  PerSampleTrace& operator=(const PerSampleTrace& other) { return *this = other.record; }
  PerSampleTrace& operator=(const Record& source) {
    if (&source != &record) {
      record = source;
      refresh_needed = true;
    }
    return *this;
  }

  void UpdateValues() const {
    if (!refresh_needed) return;
    list.resize(Length(), Sample(0.0f, Value::C_Empty, 0.0f, 0.0f));
    const Units units = VALUE::UnitsFromCorba(record.units);
    for (std::size_t i = 0; i < list.size(); ++i) list[i] = Sample(record.samples[Index(i)], units, 0.0f, 0.0f);
    refresh_needed = false;
  }

  PerSampleTrace& DoValueEqualOp(const PerSampleTrace& other, ValueOperator op) {
    if (Empty("DoValueEqualOp") || Differ("DoValueEqualOp", other.Length())) return *this;
    UpdateValues();
    const Units reference = list[0].Get_unit();
    const Units units = VALUE::UnitsFromCorba(other.record.units);
    for (std::size_t i = 0; i < list.size(); ++i) {
      const Sample operand(other.record.samples[Index(i)], units, 0.0f, 0.0f);
      (list[i].*op)(operand);
      list[i] = Converted(list[i], reference);
      WriteBack(i);
    }
    return *this;
  }

  PerSampleTrace& DoValueEqualOp(float number, NumberOperator op) {
    if (Empty("DoValueEqualOp")) return *this;
    UpdateValues();
    for (std::size_t i = 0; i < list.size(); ++i) {
      (list[i].*op)(number);
      WriteBack(i);
    }
    record.units = VALUE::UnitsToCorba(list[0].Get_unit());
    return *this;
  }

  PerSampleTrace& operator+=(const PerSampleTrace& other) { return DoValueEqualOp(other, &Sample::operator+=); }
  PerSampleTrace& operator-=(const PerSampleTrace& other) { return DoValueEqualOp(other, &Sample::operator-=); }
  PerSampleTrace& operator*=(int n) { return DoValueEqualOp(Exact(n), &Sample::operator*=); }
  PerSampleTrace& operator/=(int n) { return DoValueEqualOp(Exact(n), &Sample::operator/=); }

  PerSampleTrace& RelativeSubEqual(const PerSampleTrace& other) {
    if (Empty("RelativeSubEqual") || Differ("RelativeSubEqual", other.Length())) return *this;
    UpdateValues();
    const Units units = VALUE::UnitsFromCorba(other.record.units);
    for (std::size_t i = 0; i < list.size(); ++i) {
      list[i] = Value::Relative_sub<float>(list[i], Sample(other.record.samples[Index(i)], units, 0.0f, 0.0f));
      WriteBack(i);
    }
    record.units = VALUE::UnitsToCorba(list[0].Get_unit());
    return *this;
  }

  Value::Value_object<double> CumulativeAdd(int start, int stop) const {
    if (Empty("CumulativeAdd")) return {};
    const int s = std::max(start, 0);
    const int m = static_cast<int>(list.size());
    const int e = stop < m ? stop : m - 1;
    if (e < s) {
      out_ << kPath << "CumulativeAdd Warning: start[" << s << "] > stop[" << e << "]\n";
      return {};
    }
    UpdateValues();
    if (static_cast<std::size_t>(e) >= list.size()) throw CORBA::BAD_PARAM();
    Sample sum = list[s];
    for (int i = s + 1; i <= e; ++i) sum += list[i];
    if (s < e || !(sum.Get_unit() == list[0].Get_unit())) sum = Converted(sum, list[0].Get_unit());
    return {double(sum.Get_value()), sum.Get_unit(), 0.0, 0.0};
  }

  void Add_dB() {
    if (Empty("Add_dB")) return;
    UpdateValues();
    Units target = list[0].Get_unit();
    target.is_dB = true;
    for (std::size_t i = 0; i < list.size(); ++i) {
      Sample& entry = list[i];
      if (entry.Get_value() <= 0) {
        entry =
            Sample(std::numeric_limits<float>::min(), entry.Get_unit(), entry.Get_plus_err(), entry.Get_minus_err());
      }
      entry = entry.Convert_to(target);
      WriteBack(i);
    }
    record.units = VALUE::UnitsToCorba(target);
  }

  bool Remove_dB() {
    if (Empty("Remove_dB")) return false;
    Units target = VALUE::UnitsFromCorba(record.units);
    if (!target.is_dB) return false;
    UpdateValues();
    target.is_dB = false;
    for (std::size_t i = 0; i < list.size(); ++i) {
      list[i] = Converted(list[i], target);
      WriteBack(i);
    }
    record.units = VALUE::UnitsToCorba(target);
    return true;
  }

  void DoPeak(const PerSampleTrace& other) {
    if (Empty("DoPeak")) return;
    other.UpdateValues();
    if (Differ("DoPeak", other.list.size())) throw Refusal("Doing Peak search: traces are different sizes! ");
    UpdateValues();
    const Units reference = list[0].Get_unit();
    for (std::size_t i = 0; i < list.size(); ++i) {
      const Sample& theirs = other.list[i];
      const bool same = Library::Compare_units_DB(theirs.Get_unit(), list[i].Get_unit(), true);
      const float held = same ? list[i].Get_value() : Converted(list[i], theirs.Get_unit()).Get_value();
      if (held < theirs.Get_value()) {
        list[i] = theirs;
        record.samples[Index(i)] = Converted(list[i], reference).Get_value();
      }
    }
  }

  Record record;
  mutable std::vector<Sample> list;
  mutable bool refresh_needed = true;

 private:
  static constexpr const char* kPath = "Common_Math/src/MathValueBasicTrace:";

  static CORBA::ULong Index(std::size_t i) { return static_cast<CORBA::ULong>(i); }
  std::size_t Length() const { return record.samples.length(); }
  void WriteBack(std::size_t i) { record.samples[Index(i)] = list[i].Get_value(); }

  bool Empty(const char* function) const {
    if (Length() == 0) out_ << kPath << function << " Warning: Trace size is 0, aborting\n";
    return Length() == 0;
  }

  bool Differ(const char* function, std::size_t other) const {
    if (other != Length()) {
      out_ << kPath << function << " Error: traces are different sizes! " << other << ", " << Length() << "\n";
    }
    return other != Length();
  }

  /// What stands in dB is made linear before it is converted, unless it stands in the target already.
  static Sample Converted(const Sample& value, const Units& target) {
    if (!value.Get_unit().is_dB) return value.Convert_to(target);
    if (Library::Compare_units(value.Get_unit(), target, true)) return value;
    return Sample::Normalize_DB(value).Convert_to(target);
  }

  static float Exact(int n) {
    const double magnitude = std::abs(double(n));
    if (double(float(magnitude)) != magnitude) throw Refusal("conversion limited by bits in dest type representation ");
    return float(n);
  }

  std::ostream& out_;
};

}  // namespace Lumenar::Test
