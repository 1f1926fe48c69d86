// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "Common_Math/src/MathFactory_i.h"
#include "platform/components/readings/EngineBasicTrace_i.h"
#include "platform/components/readings/EngineReadingBoolean_i.h"
#include "platform/components/readings/EngineReadingLong_i.h"
#include "platform/components/readings/EngineReadingValueDouble_i.h"
#include "platform/wire/sample_any.h"
#include "tests/support/MathType.h"
#include "tests/support/TopicsFixture.h"
#include "tests/support/trace_samples.h"

namespace Lumenar::Test {

using Scalar = Corvanta::VALUE_DOUBLE::VALUE;

inline constexpr Value::Units kW = Value::C_Watts;
inline constexpr Value::Units kdBW = Value::Make_unit(Value::U_Watt, 1, 0, true);
inline constexpr Value::Units kmW = Value::Make_unit(Value::U_Watt, 1, -3);
inline constexpr Value::Units kdBm = Value::Make_unit(Value::U_Watt, 1, -3, true);
inline constexpr Value::Units kNone = Value::C_Empty;
inline constexpr Value::Units kdB = {true, 0, {}};
inline constexpr Value::Units kSecond = Value::Make_unit(Value::U_Second);

Scalar ScalarOf(double value, const Value::Units& units = kW, double minus_err = 0, double plus_err = 0);
Value::Units UnitsOf(const Scalar& scalar);
Value::Units UnitsOf(const BT_DATA& trace);

/// What a reading says of itself; newly allocated, as CORBA_Type returns it.
Corvanta::TypeInfo* NewTypeInfo(const std::string& name, const std::string& type_name);

/// Runs `step` and gives the text of the MathFactoryException that it throws, or "none".
template <class Step>
std::string RefusalOf(Step step) {
  try {
    step();
  } catch (const Corvanta::MathFactory::MathFactoryException& refusal) {
    return refusal.text.in();
  }
  return "none";
}

/// A math factory in the test's process, with readings that feed it and a topic manager that delivers when told.
class MathFixture : public TopicsFixture {
 protected:
  MathFixture();

  MathFactory_i& Factory() { return *factory_; }
  /// The factory goes as it does with the engine.
  void DropFactory();

  Corvanta::MathFactory::Math_var Create(int type, const std::vector<Corvanta::EngineReadingBase_ptr>& inputs);
  static Corvanta::MathFactory::ReadingAttribSeq Inputs(const std::vector<Corvanta::EngineReadingBase_ptr>& inputs);

  /// A sample of a reading, to every subscription of its topic that stands; returns when the callbacks have.
  template <class Record>
  void Deliver(const Lumenar::EngineReadingBase_i& reading, const Record& record) {
    CORBA::Any any;
    Corvanta::RecordToAny(Corvanta::ViewOf(record), any);
    DeliverAny(reading.GetDDS_Topic(), any);
  }
  void DeliverAny(const std::string& topic, const CORBA::Any& any);

  /// The same, where an exception that the sample raises is the topic manager's affair.
  template <class Record>
  void DeliverAnyhow(const Lumenar::EngineReadingBase_i& reading, const Record& record) {
    try {
      Deliver(reading, record);
    } catch (const CORBA::Exception&) {
    } catch (const std::exception&) {}
  }

  static Scalar ScalarResult(Corvanta::MathFactory::Math_ptr math);
  static BT_DATA TraceResult(Corvanta::MathFactory::Math_ptr math);
  static std::string ResultTopic(Corvanta::MathFactory::Math_ptr math);
  /// The numbers of all scalars published on a topic.
  std::vector<double> NumbersPublished(const std::string& topic);

  /// Subscriptions that stand, on any topic.
  std::vector<std::string> StandingTopics();

  Corvanta::ItemNamer namer_{"INPUTS"};
  CapturedOutput written_;

 private:
  struct CloseAndRelease {
    void operator()(MathFactory_i* factory) const noexcept;
  };
  std::unique_ptr<MathFactory_i, CloseAndRelease> factory_;
};

/// Readings as inputs, named after their kind.
struct TraceInput : Corvanta::EngineBasicTrace_i {
  TraceInput(Corvanta::ItemNamer& namer, GUI_AbleRegistration& gui, const BT_DATA& value)
      : EngineBasicTrace_i(namer, gui, "TRACE", value), reference(_this()) {}
  using EngineBasicTrace_i::operator=;
  operator Corvanta::EngineReadingBase_ptr() const { return reference; }
  Corvanta::EngineBasicTrace_var reference;
};

struct ScalarInput : Corvanta::EngineReadingValueDouble_i {
  ScalarInput(Corvanta::ItemNamer& namer, GUI_AbleRegistration& gui, const Scalar& value)
      : EngineReadingValueDouble_i(namer, gui, "SCALAR", value), reference(_this()) {}
  using EngineReadingValueDouble_i::operator=;
  operator Corvanta::EngineReadingBase_ptr() const { return reference; }
  Corvanta::EngineReadingValueDouble_var reference;
};

struct LongInput : Corvanta::EngineReadingLong_i {
  LongInput(Corvanta::ItemNamer& namer, GUI_AbleRegistration& gui, int value)
      : EngineReadingLong_i(namer, gui, "LONG", value), reference(_this()) {}
  using EngineReadingLong_i::operator=;
  operator Corvanta::EngineReadingBase_ptr() const { return reference; }
  Corvanta::EngineReadingLong_var reference;
};

}  // namespace Lumenar::Test
