// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "MathFactory.hh"
#include "platform/base/Mutex.h"
#include "platform/components/GUI_Able_i.h"
#include "platform/components/attributes/EngineAttribLong_i.h"
#include "platform/components/readings/EngineBasicTrace_i.h"
#include "platform/components/readings/EngineReadingBoolean_i.h"
#include "platform/components/readings/EngineReadingLong_i.h"
#include "platform/components/readings/EngineReadingValueDouble_i.h"
#include "platform/orb/ORB_wrapper.h"
#include "platform/records/Records.h"
#include "platform/topics/DDS_Subscriber.h"
#include "tests/support/IsolatedPlatform.h"
#include "tests/support/MathType.h"

namespace Lumenar::Test {

using Corvanta::BASIC_TRACE::BT_DATA;
using Scalar = Corvanta::VALUE_DOUBLE::VALUE;

/// dB of milliwatt.
inline constexpr Value::Units kdBm = Value::Make_unit(Value::U_Watt, 1, -3, true);
inline constexpr Value::Units kMilliwatt = Value::Make_unit(Value::U_Watt, 1, -3);

BT_DATA Trace(const std::vector<float>& samples, const Value::Units& units, unsigned sequence_number = 0);
Scalar ScalarOf(double value, const Value::Units& units, double minus_err = 0, double plus_err = 0);
std::vector<float> SamplesOf(const BT_DATA& trace);
Value::Units UnitsOf(const BT_DATA& trace);
Value::Units UnitsOf(const Scalar& scalar);

/// Collects what is published on one topic, in order.
template <class T>
class Watcher {
 public:
  explicit Watcher(const std::string& topic)
      : received_(std::make_shared<Received>()),
        subscriber_(topic.c_str(), [received = received_](const char*, T record) {
          Lock lock(received->mutex);
          received->records.push_back(record);
        }) {}

  std::vector<T> All() const {
    Lock lock(received_->mutex);
    return received_->records;
  }

  /// Waits until `count` samples came; the samples, fewer after the limit.
  std::vector<T> WaitFor(std::size_t count) const {
    WaitUntil([&] { return All().size() >= count; });
    return All();
  }

 private:
  struct Received {
    mutable Mutex mutex;
    std::vector<T> records GUARDED_BY(mutex);
  };
  std::shared_ptr<Received> received_;
  Corvanta::DDS_Subscriber<T> subscriber_;
};

/// The ORB side of the test itself: an engine named TESTBENCH whose readings feed the math engine.
class Testbench {
 public:
  Testbench();

  Corvanta::ItemNamer& Namer() { return namer_; }
  GUI_AbleRegistration& Registration() { return registration_; }
  Corvanta::ORB_wrapper& Orb() { return orb_; }

  /// The factory of a math engine instance.
  Corvanta::MathFactory::Interfaces_ptr Factory(const std::string& instance = "1");

 private:
  Corvanta::ORB_wrapper orb_;
  GUI_Able_i registration_;
  Corvanta::ItemNamer namer_;
};

/// A whole platform with a math engine in processes of its own, and the testbench in this one.
class EngineFixture : public testing::Test {
 protected:
  explicit EngineFixture(const IsolatedPlatform::Options& options = {});

  /// The references of readings as inputs of CreateMath.
  template <class... Readings>
  static Corvanta::MathFactory::ReadingAttribSeq Inputs(Readings&... readings) {
    Corvanta::MathFactory::ReadingAttribSeq inputs;
    inputs.length(sizeof...(readings));
    CORBA::ULong index = 0;
    ((inputs[index++] = Reference(readings)), ...);
    return inputs;
  }

  Corvanta::MathFactory::Math_ptr Create(MathType type, const Corvanta::MathFactory::ReadingAttribSeq& inputs);

  static std::string ResultTopic(Corvanta::MathFactory::Math_ptr math);
  static BT_DATA TraceResult(Corvanta::MathFactory::Math_ptr math);
  static Scalar ScalarResult(Corvanta::MathFactory::Math_ptr math);

  /// The text of the MathFactoryException that CreateMath raises; "none" when it raises nothing.
  std::string Refusal(MathType type, const Corvanta::MathFactory::ReadingAttribSeq& inputs);

  IsolatedPlatform platform_;
  Process& engine_;
  Testbench bench_;
  Corvanta::MathFactory::Interfaces_var factory_;

 private:
  template <class Reading>
  static Corvanta::EngineReadingBase_ptr Reference(Reading& reading) {
    auto typed = reading._this();
    Corvanta::EngineReadingBase_ptr base = Corvanta::EngineReadingBase::_duplicate(typed);
    CORBA::release(typed);
    return base;
  }
};

/// The names of the operations that a factory offers, each at its number.
std::vector<std::string> OperationNames(Corvanta::MathFactory::Interfaces_ptr factory);

/// The reading kinds of the testbench, each a test's own input.
struct TraceInput : Corvanta::EngineBasicTrace_i {
  TraceInput(Testbench& bench, const char* name, const BT_DATA& initial)
      : EngineBasicTrace_i(bench.Namer(), bench.Registration(), name, initial) {}
  using EngineBasicTrace_i::operator=;
};
struct ScalarInput : Corvanta::EngineReadingValueDouble_i {
  ScalarInput(Testbench& bench, const char* name, const Scalar& initial)
      : EngineReadingValueDouble_i(bench.Namer(), bench.Registration(), name, initial) {}
  using EngineReadingValueDouble_i::operator=;
};
struct LongInput : Corvanta::EngineReadingLong_i {
  LongInput(Testbench& bench, const char* name, int initial)
      : EngineReadingLong_i(bench.Namer(), bench.Registration(), name, initial) {}
  using EngineReadingLong_i::operator=;
};

}  // namespace Lumenar::Test
