// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <boost/scoped_ptr.hpp>
#include <type_traits>
#include <utility>

#include "Common_Math/src/MathBase.h"
#include "Common_Math/src/RunningMean.h"
#include "platform/base/Mutex.h"
#include "platform/components/attributes/EngineAttribLong_i.h"
#include "platform/components/attributes/EngineAttribVoid_i.h"
#include "platform/components/readings/EngineReadingBoolean_i.h"
#include "platform/topics/DDS_Subscriber.h"

namespace Lumenar {

inline constexpr char kAverageName[] = "Average";  ///< as TYPE and objects tell it

/// The limits of SIZE.
inline constexpr Corvanta::EngineAttribLongParams f_SizeParams{1, 99, 0};

/// The mean of the last SIZE samples of one input, computed in linear units; in dB when the newest sample was.
///
/// The mean so far is RESULT itself, read back with every sample. One mutex makes a sample, a new SIZE and a RESET
/// follow each other.
template <class T, class T1>
class Average final : virtual public POA_Corvanta::MathFactory::Average,
                      virtual public MathBaseTemplate<T, ValReadingMap<T>> {
  static_assert(std::is_same_v<T, T1>, "the mean is of the input's type");

 public:
  /// The input's present value is the first sample.
  /// Errors   MathFactoryException; CORBA system exceptions; the value library's.
  Average(Corvanta::ItemNamer& namer, GUI_AbleRegistration& gui, Corvanta::EngineReadingBase_ptr input)
      : MathBaseTemplate<T, ValReadingMap<T>>(namer, gui),
        subscription_(new Corvanta::DDS_Subscriber<T>(
            this->AskTopic(input).c_str(),
            this->Gate().Guard([this](const char* topic, T&& sample) { DDS_Callback(topic, std::move(sample)); }),
            this->template CountNotRead<0>())),
        size_(namer, gui, "SIZE", 1, this->Gate().Guard([this](const int& value) { SizeCallback(value); }),
              f_SizeParams),
        reset_(namer, gui, "RESET", this->Gate().Guard([this] { ResetCallback(); })),
        full_(namer, gui, "FULL", false) {
    this->KeepHandle(0, *subscription_);
    MathValue<T> present(input);
    Lock lock(mutex_);
    Update(&present);
  }

  char* GetType() override {
    this->RequireOpen();
    return CORBA::string_dup(kAverageName);
  }

  Corvanta::EngineAttribLong_ptr AttrSize() override {
    this->RequireOpen();
    return size_._this();
  }

  Corvanta::EngineAttribVoid_ptr AttrReset() override {
    this->RequireOpen();
    return reset_._this();
  }

  Corvanta::EngineReadingBoolean_ptr AttrFull() override {
    this->RequireOpen();
    return full_._this();
  }

  using MathBaseTemplate<T, ValReadingMap<T>>::Describe;
  void Describe(Corvanta::MathFactory::MathReport& report) override {
    MathBaseTemplate<T, ValReadingMap<T>>::Describe(report);
    report.size = static_cast<CORBA::ULong>(size_.Get());
    report.filled = static_cast<CORBA::ULong>(Filling());
  }

  /// A sample of the input.
  /// Errors   the value library's: RESULT and FULL keep their values. A sample that cannot be added is forgotten; one
  ///          whose mean is not finite stays among the samples.
  void DDS_Callback(const char* /*topic*/, T&& sample) {
    this->TakeSample(0, [&] {
      MathValue<T> value(std::move(sample));
      Lock lock(mutex_);
      Update(&value);
    });
  }

  /// Stores a new SIZE, which counts from the next sample on.
  void SizeCallback(const int& value) {
    Lock lock(mutex_);
    size_ = value;
    Update(nullptr);
  }

  /// Publishes the newest sample in the form in which it is held, in linear units, and begins a new history.
  void ResetCallback() {
    Lock lock(mutex_);
    if (!mean_.IsEmpty()) this->SetResult(mean_.Newest());
    mean_.Clear();
    full_ = false;
  }

 private:
  ~Average() override = default;

  // The functions below publish, a call to the topic manager, under the lock: results leave in the order of their
  // samples.

  /// The sample is given up. Null: SIZE changed, and nothing is inserted, trimmed or published.
  void Update(MathValue<T>* sample) REQUIRES(mutex_) {
    const bool was_dB = sample != nullptr && sample->Remove_dB();
    if (!mean_.IsEmpty()) {
      Continue(sample, was_dB);
    } else if (sample != nullptr) {
      Begin(std::move(*sample), was_dB);
    }
  }

  void Begin(MathValue<T>&& sample, bool was_dB) REQUIRES(mutex_) {
    mean_.Begin(sample);
    if (was_dB) sample.Add_dB();
    this->SetResult(std::move(sample));
    if (size_.Get() == 1) full_ = true;
  }

  void Continue(MathValue<T>* sample, bool was_dB) REQUIRES(mutex_) {
    if (sample != nullptr && mean_.IsReplacedBy(*sample, size_.Get())) {
      mean_.Replace(std::move(*sample));
      Publish(mean_.Newest(), was_dB);
      return;
    }
    MathValue<T> mean = this->GetResult();
    mean.Remove_dB();
    if (sample == nullptr || !mean_.Continue(mean, std::move(*sample), size_.Get())) return;
    Publish(std::move(mean), was_dB);
  }

  void Publish(MathValue<T> mean, bool was_dB) REQUIRES(mutex_) {
    if (was_dB) mean.Add_dB();
    this->SetResult(std::move(mean));
    full_ = size_.Get() <= mean_.Count();
  }

  void CloseParts() noexcept override {
    subscription_.reset();
    full_.Close();
    reset_.Close();
    size_.Close();
    MathBaseTemplate<T, ValReadingMap<T>>::CloseParts();
  }

  Mutex mutex_;
  /// Without the lock, which a computation holds: this number alone may be read by any thread.
  int Filling() const NO_THREAD_SAFETY_ANALYSIS { return mean_.CountForOthers(); }

  RunningMean<T> mean_ GUARDED_BY(mutex_);
  boost::scoped_ptr<Corvanta::DDS_Subscriber<T>> subscription_;
  Corvanta::EngineAttribLong_i size_;
  Corvanta::EngineAttribVoid_i reset_;
  Corvanta::EngineReadingBoolean_i full_;
};

}  // namespace Lumenar
