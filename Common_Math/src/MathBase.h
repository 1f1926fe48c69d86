// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <boost/noncopyable.hpp>
#include <boost/shared_ptr.hpp>
#include <string>
#include <utility>

#include "Common_Math/src/RefusedSamples.h"
#include "MathFactory.hh"
#include "platform/base/InstanceCounter.h"
#include "platform/servants/CountedServant.h"
#include "platform/servants/UpcallGate.h"

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

  /// The id, also of a closed object.
  CORBA::Long Id() const noexcept { return id_; }

  /// The topics of the inputs, in their order, as their readings told them when the object was built.
  std::vector<std::string> InputTopics() const { return refused_.Inputs(); }

  /// The object as a list shows it. Makes no remote call.
  /// Errors   as the operations.
  virtual void Describe(Corvanta::MathFactory::MathStatus& status);

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

  RefusedSamples& Refused() noexcept { return refused_; }

  /// What an operation does with one sample; counts the sample when it is refused. Errors   those of `work`.
  /// Threads  the caller holds what `work` requires, which the analysis cannot follow through a parameter.
  template <class Work>
  void TakeSample(Work work) NO_THREAD_SAFETY_ANALYSIS {
    RefusedSamples::OnItsWay sample(refused_);
    try {
      work();
    } catch (...) {
      refused_.CountException();
      throw;
    }
  }

  /// Counts a sample that could not be read off the wire for want of memory; for the subscriptions.
  auto CountNotRead() {
    return gate_->Guard([this] { refused_.CountException(); });
  }

  /// Ends the operation's subscriptions and closes its readings and attributes.
  virtual void CloseParts() noexcept = 0;

 private:
  void Close() noexcept;

  const CORBA::Long id_;
  RefusedSamples refused_;
  const boost::shared_ptr<Corvanta::UpcallGate> gate_;
  Corvanta::MathFactory::Math_var reference_;
};

}  // namespace Lumenar
