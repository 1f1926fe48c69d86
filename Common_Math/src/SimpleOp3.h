// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <boost/scoped_ptr.hpp>
#include <cstddef>
#include <string>
#include <utility>

#include "Common_Math/src/MathBase.h"
#include "platform/base/Mutex.h"
#include "platform/topics/DDS_Subscriber.h"

namespace Lumenar {

/// A trace and two indices combined into one scalar each time one of them changes: "CumulativeAdd".
template <class Trace, class Start, class Stop, class T>
class SimpleOp3 final : virtual public MathBaseTemplate<T, ValReadingMap<T>> {
 public:
  using Operation = MathValue<T> (*)(const MathValue<Trace>&, const MathValue<Start>&, const MathValue<Stop>&);

  /// RESULT holds op of the inputs' present values before this returns.
  /// Errors   MathFactoryException; CORBA system exceptions; the value library's.
  SimpleOp3(Corvanta::ItemNamer& namer, GUI_AbleRegistration& gui, const char* type, Operation op,
            Corvanta::EngineReadingBase_ptr trace, Corvanta::EngineReadingBase_ptr start,
            Corvanta::EngineReadingBase_ptr stop)
      : MathBaseTemplate<T, ValReadingMap<T>>(namer, gui),
        trace_(trace),
        start_(start),
        stop_(stop),
        type_(type),
        op_(op) {
    // Remote calls under the lock: nobody can contend for it yet, since samples wait at the gate until the object is
    // complete.
    Lock lock(mutex_);
    Subscribe(trace, start, stop);
    // Once more, so that no sample is lost between the first look and the subscription.
    trace_ = MathValue<Trace>(trace);
    start_ = MathValue<Start>(start);
    stop_ = MathValue<Stop>(stop);
    this->TakePresentValues([this]() REQUIRES(mutex_) { Update(); });
  }

  char* GetType() override {
    this->RequireOpen();
    return CORBA::string_dup(type_.c_str());
  }

  /// A sample of the trace.
  /// Errors   as Update.
  void Val1Callback(const char* /*topic*/, Trace&& sample) {
    Lock lock(mutex_);
    this->TakeSample(0, [&]() REQUIRES(mutex_) {
      trace_ = std::move(sample);
      Update();
    });
  }

  /// A sample of either index. It is the start index that follows both; the stop keeps its value from creation.
  /// Errors   as Update.
  void Val2Callback(const char* /*topic*/, Start sample, std::size_t input = kStartInput) {
    Lock lock(mutex_);
    this->TakeSample(input, [&]() REQUIRES(mutex_) {
      start_.value = sample;
      Update();
    });
  }

 private:
  static constexpr std::size_t kStartInput = 1;  // among the inputs
  static constexpr std::size_t kStopInput = 2;

  ~SimpleOp3() override { EndSubscriptions(); }

  void Subscribe(Corvanta::EngineReadingBase_ptr trace, Corvanta::EngineReadingBase_ptr start,
                 Corvanta::EngineReadingBase_ptr stop) {
    const std::string trace_topic = this->AskTopic(trace);
    const std::string start_topic = this->AskTopic(start);
    const std::string stop_topic = this->AskTopic(stop);
    const auto index_callback = [this](std::size_t index) {
      return this->Gate().Guard([this, index](const char* topic, Start sample) { Val2Callback(topic, sample, index); });
    };
    trace_subscription_.reset(new Corvanta::DDS_Subscriber<Trace>(
        trace_topic.c_str(),
        this->Gate().Guard([this](const char* topic, Trace&& sample) { Val1Callback(topic, std::move(sample)); }),
        this->template CountNotRead<0>()));
    start_subscription_.reset(new Corvanta::DDS_Subscriber<Start>(start_topic.c_str(), index_callback(kStartInput)));
    stop_subscription_.reset(new Corvanta::DDS_Subscriber<Stop>(stop_topic.c_str(), index_callback(kStopInput)));
    this->KeepHandle(0, *trace_subscription_);
    this->KeepHandle(kStartInput, *start_subscription_);
    this->KeepHandle(kStopInput, *stop_subscription_);
  }

  /// Computes and publishes. The publication, a call to the topic manager, runs under the lock so that results leave
  /// in the order of their samples.
  /// Errors   everything passes; when the sum fails, the trace stays linear.
  void Update() REQUIRES(mutex_) {
    const bool was_dB = trace_.Remove_dB();
    trace_.UpdateValues();  // before the sum clamps its range to the list
    MathValue<T> result = op_(trace_, start_, stop_);
    if (was_dB) {
      trace_.Add_dB();
      result.Add_dB();
    }
    this->SetResult(result);
  }

  void CloseParts() noexcept override {
    EndSubscriptions();
    MathBaseTemplate<T, ValReadingMap<T>>::CloseParts();
  }

  void EndSubscriptions() noexcept {
    trace_subscription_.reset();
    start_subscription_.reset();
    stop_subscription_.reset();
  }

  MathValue<Trace> trace_ GUARDED_BY(mutex_);
  MathValue<Start> start_ GUARDED_BY(mutex_);
  MathValue<Stop> stop_ GUARDED_BY(mutex_);
  boost::scoped_ptr<Corvanta::DDS_Subscriber<Trace>> trace_subscription_;
  boost::scoped_ptr<Corvanta::DDS_Subscriber<Start>> start_subscription_;
  boost::scoped_ptr<Corvanta::DDS_Subscriber<Stop>> stop_subscription_;
  const std::string type_;
  const Operation op_;
  Mutex mutex_;
};

}  // namespace Lumenar
