// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <atomic>
#include <boost/function.hpp>
#include <boost/noncopyable.hpp>
#include <boost/shared_ptr.hpp>
#include <cstddef>
#include <string>
#include <utility>
#include <vector>

#include "Common_Math/src/MathValue.h"
#include "Common_Math/src/RefusedSamples.h"
#include "MathFactory.hh"
#include "platform/base/InstanceCounter.h"
#include "platform/base/thread_annotations.h"
#include "platform/components/GUI_AbleRegistration.h"
#include "platform/components/ItemNamer.h"
#include "platform/records/Records.h"
#include "platform/servants/servants.h"
#include "platform/wire/MarshalledValue.h"

namespace Lumenar {

/// A math object: what every operation has in common. Its id is the number of math objects constructed in the process
/// before it.
///
/// A counted servant: the registry's pointer closes it and gives up its reference; the memory goes when the last call
/// inside has left. Samples and attribute changes come in through its gate, which opens when the object is complete.
class MathBase : virtual public POA_Corvanta::MathFactory::Math,
                 public Corvanta::CountedServant,
                 virtual public boost::noncopyable,
                 private Counted<MathBase> {
 public:
  static constexpr const char* kClassName = "MathBase";

  /// Errors of all, once the object is closed   CORBA::OBJECT_NOT_EXIST.
  Corvanta::EngineReadingBase_ptr AttrResult() override = 0;
  CORBA::Long GetId() override;
  char* GetType() override = 0;
  Corvanta::MathFactory::RefusalStatus* Refusals() override;
  Corvanta::MathFactory::ReadingAttribSeq* AttrInputs() override;
  Corvanta::MathFactory::MathReport* Report() override;

  /// The id, also of a closed object.
  CORBA::Long Id() const noexcept { return id_; }

  /// The topics of the inputs, in their order, as their readings told them when the object was built.
  std::vector<std::string> InputTopics() const { return refused_.Inputs(); }

  /// The object as a list shows it. Makes no remote call.
  /// Errors   as the operations.
  virtual void Describe(Corvanta::MathFactory::MathStatus& status);

  /// What a report says of the object. It cannot know which inputs are away and marks none. Makes no remote call, and
  /// waits for no computation.
  /// Errors   as the operations.
  virtual void Describe(Corvanta::MathFactory::MathReport& report);

  /// Sets in a report which inputs are away.
  using MarkAway = boost::function<void(Corvanta::MathFactory::MathReport&)>;

  /// What clients ask for that the object needs nowhere else: its inputs, and who knows which of them are away. Called
  /// once, before Activate.
  void Keep(const Corvanta::MathFactory::ReadingAttribSeq& inputs, MarkAway mark_away);

  /// The pointer that owns a newly built object and opens it. Its end closes the object: subscriptions end at once,
  /// readings and attributes are withdrawn, no call gets in any more, and nothing waits for those inside.
  static boost::shared_ptr<MathBase> Own(MathBase* object);

  /// Makes the object known to the ORB; called once, before others can reach it.
  void Activate();

  /// A new reference to the activated object; the caller shares its ownership.
  Corvanta::MathFactory::Math_ptr Reference() const;

 protected:
  MathBase();
  ~MathBase() override;

  Corvanta::UpcallGate& Gate() noexcept { return *gate_; }

  /// Asks an input for its topic, once for the whole life of the object.
  /// Errors   CORBA system exceptions.
  std::string AskTopic(Corvanta::EngineReadingBase_ptr input);

  /// The subscription of an input, given by its number, for reports; before the object is complete.
  template <class Subscriber>
  void KeepHandle(std::size_t input, const Subscriber& subscription) {
    handles_.at(input) = subscription.SharedHandle();
  }

  RefusedSamples& Refused() noexcept { return refused_; }
  const SampleFigures& Figures() const noexcept { return figures_; }

  /// What an operation does with one sample of an input, given by its number; counts the sample, also when it is
  /// refused. Errors   those of `work`.
  /// Threads  the caller holds what `work` requires, which the analysis cannot follow through a parameter.
  template <class Work>
  void TakeSample(std::size_t input, Work work) NO_THREAD_SAFETY_ANALYSIS {
    RefusedSamples::OnItsWay sample(refused_);
    figures_.SampleCame(input, sample.Came());
    Do(work);
  }

  /// The same with the inputs' present values, which are not counted as samples that came.
  template <class Work>
  void TakePresentValues(Work work) NO_THREAD_SAFETY_ANALYSIS {
    RefusedSamples::OnItsWay sample(refused_);
    Do(work);
  }

  /// Counts a sample of an input that could not be read off the wire for want of memory; for the subscriptions, which
  /// hold what it gives in place as long as the input's number is in its type.
  template <std::size_t kInput>
  auto CountNotRead() {
    return gate_->Guard([this] {
      figures_.SampleCame(kInput, SampleFigures::Time::clock::now());
      refused_.CountException();
    });
  }

  /// A result is about to be published.
  void CountResult() noexcept { figures_.ResultCame(refused_.TimeOfSample()); }

  /// Ends the operation's subscriptions and closes its readings and attributes.
  virtual void CloseParts() noexcept = 0;

 private:
  void Close() noexcept;

  template <class Work>
  void Do(Work& work) NO_THREAD_SAFETY_ANALYSIS {
    try {
      work();
    } catch (...) {
      refused_.CountException();
      throw;
    }
  }

  const CORBA::Long id_;
  RefusedSamples refused_;
  SampleFigures figures_;
  std::array<boost::shared_ptr<const std::atomic<CORBA::Long>>, SampleFigures::kMostInputs> handles_;
  MarkAway mark_away_;
  Corvanta::MarshalledValue<Corvanta::MathFactory::ReadingAttribSeq> inputs_;
  const boost::shared_ptr<Corvanta::UpcallGate> gate_;
  Corvanta::MathFactory::Math_var reference_;
};

/// The points of a result: the samples of a trace, 1 of a scalar.
inline CORBA::ULong PointsOf(const Corvanta::BASIC_TRACE::BT_DATA& trace) { return trace.samples.length(); }
inline CORBA::ULong PointsOf(const Corvanta::VALUE_DOUBLE::VALUE&) { return 1; }

/// The reading class of a record type; one specialisation for each type of result.
template <class T>
class ValReadingMap;

/// A math object with its output: the reading "RESULT", whose value is the type's default until the first result.
template <class T, class Reading>
class MathBaseTemplate : virtual public MathBase {
 public:
  MathBaseTemplate(Corvanta::ItemNamer& namer, GUI_AbleRegistration& gui)
      : result_(namer, gui, "RESULT", f_DefaultVal<T>()) {}

  Corvanta::EngineReadingBase_ptr AttrResult() override {
    RequireOpen();
    return result_._this();
  }

  void Describe(Corvanta::MathFactory::MathStatus& status) override {
    MathBase::Describe(status);
    status.result = AttrResult();
    status.result_info = result_.Info();
    status.result_topic = result_.GetDDS_Topic().c_str();
  }

  void Describe(Corvanta::MathFactory::MathReport& report) override {
    MathBase::Describe(report);
    report.result_topic = result_.GetDDS_Topic().c_str();
    report.result_kind = result_.Kind().type_name;
    result_.LookAt([&report](const T& present) {
      report.units = present.units;
      report.points = report.results == 0 ? 0 : PointsOf(present);
    });
  }

 protected:
  ~MathBaseTemplate() override = default;

  /// Stores and publishes a result; one that is given up is not copied.
  void SetResult(const MathValue<T>& value) {
    CountResult();
    result_ = value.ToRecord();
  }
  void SetResult(MathValue<T>&& value) {
    CountResult();
    result_ = std::move(value).ToRecord();
  }

  /// The present RESULT, read back.
  MathValue<T> GetResult() const { return result_.GetValue(); }

  void CloseParts() noexcept override { result_.Close(); }

 private:
  Reading result_;
};

}  // namespace Lumenar
