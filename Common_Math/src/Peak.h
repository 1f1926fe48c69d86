// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <boost/scoped_ptr.hpp>
#include <string>
#include <type_traits>
#include <utility>

#include "Common_Math/src/MathBase.h"
#include "platform/base/Mutex.h"
#include "platform/components/attributes/EngineAttribVoid_i.h"
#include "platform/topics/DDS_Subscriber.h"

namespace Lumenar {

inline constexpr char kPeakName[] = "Peak";  ///< as TYPE and objects tell it

/// The largest value of one input since creation or RESET, compared in linear units; a trace point by point. In dB
/// when the held value was, whatever the new sample is.
///
/// The held peak is the RESULT itself, read back with every sample. One mutex makes samples and RESET follow each
/// other.
template <class T, class T1>
class Peak final : virtual public POA_Corvanta::MathFactory::Peak,
                   virtual public MathBaseTemplate<T, ValReadingMap<T>> {
  static_assert(std::is_same_v<T, T1>, "the peak is of the input's type");

 public:
  /// The input's present value is the first peak.
  /// Errors   MathFactoryException; CORBA system exceptions; the value library's.
  Peak(Corvanta::ItemNamer& namer, GUI_AbleRegistration& gui, Corvanta::EngineReadingBase_ptr input)
      : MathBaseTemplate<T, ValReadingMap<T>>(namer, gui),
        reset_(namer, gui, "RESET", this->Gate().Guard([this] { ResetCallback(); })) {
    const std::string topic = this->AskTopic(input);
    subscription_.reset(new Corvanta::DDS_Subscriber<T>(
        topic.c_str(),
        this->Gate().Guard([this](const char* name, T&& sample) { DDS_Callback(name, std::move(sample)); }),
        this->template CountNotRead<0>()));
    this->KeepHandle(0, *subscription_);
    MathValue<T> present(input);
    Lock lock(mutex_);
    Update(&present);
  }

  char* GetType() override {
    this->RequireOpen();
    return CORBA::string_dup(kPeakName);
  }

  Corvanta::EngineAttribVoid_ptr AttrReset() override {
    this->RequireOpen();
    return reset_._this();
  }

  /// A sample of the input.
  /// Errors   the value library's, and MathFactoryException for a trace of another size: RESULT keeps its value.
  void DDS_Callback(const char* /*topic*/, T&& sample) {
    this->TakeSample(0, [&] {
      MathValue<T> value(std::move(sample));
      Lock lock(mutex_);
      Update(&value);
    });
  }

  /// The next sample begins a new peak; until then the old one stays on RESULT.
  void ResetCallback() {
    Lock lock(mutex_);
    first_ = true;
  }

 private:
  ~Peak() override = default;

  /// The publication, a call to the topic manager, runs under the lock so that results leave in the order of their
  /// samples.
  /// The sample is given up.
  void Update(MathValue<T>* sample) REQUIRES(mutex_) {
    if (first_) {
      this->SetResult(std::move(*sample));
      first_ = false;
      return;
    }
    MathValue<T> peak = this->GetResult();
    const bool held_was_dB = peak.Remove_dB();
    sample->Remove_dB();
    peak.DoPeak(*sample);
    MathValue<T> held(
        std::move(peak));  // a new value: the sample values that the comparison left behind do not come along
    if (held_was_dB) held.Add_dB();
    this->SetResult(std::move(held));
  }

  void CloseParts() noexcept override {
    subscription_.reset();
    reset_.Close();
    MathBaseTemplate<T, ValReadingMap<T>>::CloseParts();
  }

  Mutex mutex_;
  boost::scoped_ptr<Corvanta::DDS_Subscriber<T>> subscription_;
  Corvanta::EngineAttribVoid_i reset_;
  bool first_ GUARDED_BY(mutex_) = true;
};

}  // namespace Lumenar
