// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <boost/scoped_ptr.hpp>
#include <exception>
#include <string>
#include <type_traits>
#include <utility>

#include "Common_Math/src/MathBase.h"
#include "Common_Math/src/MathValue.h"
#include "platform/base/Mutex.h"
#include "platform/topics/DDS_Subscriber.h"
#include "platform/units/exceptions.h"

namespace Lumenar {

/// An operand that goes out of decibels before each computation and back into them after it. Either way may change its
/// last bits, and each computation goes on from there.
///
/// The numbers are those; the work is less. The way back of a trace is put off until the next computation: a sample
/// that replaces the operand meanwhile makes it unnecessary. And when one way back and out again has changed no bit of
/// a trace, the next one would not either, and the trace stays as it is from then on.
/// Threads   the caller's lock.
template <class T>
class DecibelOperand {
 public:
  explicit DecibelOperand(MathValue<T>&& value) : value_(std::move(value)) {}

  /// The next sample of the input.
  DecibelOperand& operator=(T&& sample) {
    value_ = std::move(sample);
    state_ = State::AsItCame;
    return *this;
  }

  /// The operand as it stands, for a computation: Remove_dB comes first, or the way back may be outstanding.
  const MathValue<T>& Value() const noexcept { return value_; }

  /// Takes it out of dB; false when it is not in dB.
  /// Errors   the value library's.
  bool Remove_dB() {
    if (state_ == State::Settled) return true;
    if (state_ == State::OwesTheWayBack) {
      state_ = State::AsItCame;  // if it stops half-way
      const bool unchanged = GoBackAndOut();
      state_ = unchanged ? State::Settled : State::OwesTheWayBack;
      return true;
    }
    return value_.Remove_dB();
  }

  /// The way back, after Remove_dB has returned true.
  void Add_dB() {
    if constexpr (kMayPutOff) {
      if (state_ == State::AsItCame) state_ = State::OwesTheWayBack;
    } else {
      value_.Add_dB();
    }
  }

 private:
  static constexpr bool kMayPutOff = requires(MathValue<T> & value) { value.GoThroughDecibels(); };

  enum class State {
    AsItCame,        ///< out of dB after Remove_dB, else in dB or without
    OwesTheWayBack,  ///< out of dB, where it should be in
    Settled,         ///< out of dB, and the same after each way back and out again
  };

  bool GoBackAndOut() {
    if constexpr (kMayPutOff) return value_.GoThroughDecibels();
    return false;
  }

  MathValue<T> value_;
  State state_ = State::AsItCame;
};

/// What tells one operation of two inputs from another, besides its function.
struct TwoInputRule {
  /// Operands in dB are made linear for the computation and go back into dB after it; the result goes into dB with the
  /// first one. Otherwise operands and result stay as they stand.
  bool linear_operands;

  /// Whether a refusal of the value library passes in silence: nothing is published then, and RESULT keeps its value.
  bool (*is_silent)(const Value::Value_exception& refusal) noexcept;
};

/// Two inputs of one type combined into one result each time either of them changes, by a function and a rule.
///
/// A sample replaces its operand and the other operand keeps its last value; samples are not paired.
template <class T, class T1, class T2>
class SimpleOp2 final : virtual public MathBaseTemplate<T, ValReadingMap<T>> {
  static_assert(std::is_same_v<T, T1> && std::is_same_v<T, T2>, "no broadcasting of a scalar over a trace");

 public:
  using Operation = MathValue<T> (*)(const MathValue<T>&, const MathValue<T>&);

  /// RESULT holds op of the inputs' present values before this returns.
  /// Errors   MathFactoryException; CORBA system exceptions; the value library's, as Update.
  SimpleOp2(Corvanta::ItemNamer& namer, GUI_AbleRegistration& gui, const char* type, Operation op,
            Corvanta::EngineReadingBase_ptr first, Corvanta::EngineReadingBase_ptr second, const TwoInputRule& rule)
      : MathBaseTemplate<T, ValReadingMap<T>>(namer, gui),
        first_(MathValue<T>(first)),
        second_(MathValue<T>(second)),
        type_(type),
        op_(op),
        rule_(rule) {
    // Remote calls under the lock: nobody can contend for it yet, since samples wait at the gate until the object is
    // complete.
    Lock lock(mutex_);
    const std::string first_topic = this->AskTopic(first);
    const std::string second_topic = this->AskTopic(second);
    first_subscription_.reset(new Corvanta::DDS_Subscriber<T>(
        first_topic.c_str(),
        this->Gate().Guard([this](const char* topic, T&& sample) { Val1Callback(topic, std::move(sample)); }),
        this->template CountNotRead<0>()));
    second_subscription_.reset(new Corvanta::DDS_Subscriber<T>(
        second_topic.c_str(),
        this->Gate().Guard([this](const char* topic, T&& sample) { Val2Callback(topic, std::move(sample)); }),
        this->template CountNotRead<1>()));
    this->KeepHandle(0, *first_subscription_);
    this->KeepHandle(1, *second_subscription_);
    // Once more, so that no sample is lost between the first look and the subscription.
    first_ = DecibelOperand<T>(MathValue<T>(first));
    second_ = DecibelOperand<T>(MathValue<T>(second));
    this->TakePresentValues([this]() REQUIRES(mutex_) { Update(); });
  }

  char* GetType() override {
    this->RequireOpen();
    return CORBA::string_dup(type_.c_str());
  }

  /// A sample of the first, or the second, input, which becomes the operand.
  /// Errors   as Update.
  void Val1Callback(const char* /*topic*/, T&& sample) {
    Lock lock(mutex_);
    this->TakeSample(0, [&]() REQUIRES(mutex_) {
      first_ = std::move(sample);
      Update();
    });
  }

  void Val2Callback(const char* /*topic*/, T&& sample) {
    Lock lock(mutex_);
    this->TakeSample(1, [&]() REQUIRES(mutex_) {
      second_ = std::move(sample);
      Update();
    });
  }

 private:
  ~SimpleOp2() override { EndSubscriptions(); }

  /// Computes and publishes. The publication, a call to the topic manager, runs under the lock so that results leave
  /// in the order of their samples. The inputs go back into dB whatever exception ends the computation.
  /// Errors   what the rule does not pass in silence.
  void Update() REQUIRES(mutex_) {
    bool first_was_dB = false;
    bool second_was_dB = false;
    std::exception_ptr failure;
    try {
      first_was_dB = rule_.linear_operands && first_.Remove_dB();
      second_was_dB = rule_.linear_operands && second_.Remove_dB();
      MathValue<T> result = op_(first_.Value(), second_.Value());
      if (first_was_dB) result.Add_dB();
      this->SetResult(std::move(result));
    } catch (const Value::Value_exception& refusal) {
      if (rule_.is_silent(refusal)) {
        this->Refused().CountException();
      } else {
        failure = std::current_exception();
      }
    } catch (...) {
      failure = std::current_exception();
    }
    if (first_was_dB) first_.Add_dB();
    if (second_was_dB) second_.Add_dB();
    if (failure) std::rethrow_exception(failure);
  }

  void CloseParts() noexcept override {
    EndSubscriptions();
    MathBaseTemplate<T, ValReadingMap<T>>::CloseParts();
  }

  void EndSubscriptions() noexcept {
    first_subscription_.reset();
    second_subscription_.reset();
  }

  DecibelOperand<T> first_ GUARDED_BY(mutex_);
  DecibelOperand<T> second_ GUARDED_BY(mutex_);
  boost::scoped_ptr<Corvanta::DDS_Subscriber<T>> first_subscription_;
  boost::scoped_ptr<Corvanta::DDS_Subscriber<T>> second_subscription_;
  const std::string type_;
  const Operation op_;
  const TwoInputRule rule_;
  Mutex mutex_;
};

}  // namespace Lumenar
