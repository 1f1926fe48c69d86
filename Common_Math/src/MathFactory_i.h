// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <boost/shared_ptr.hpp>
#include <map>
#include <string>
#include <vector>

#include "Common_Math/src/MathBase.h"
#include "Common_Math/src/MathLimits.h"
#include "MathFactory.hh"
#include "platform/base/Mutex.h"
#include "platform/components/GUI_AbleRegistration.h"
#include "platform/components/ItemNamer.h"
#include "platform/components/attributes/EngineAttribEnum_i.h"
#include "platform/orb/ORB_wrapper.h"
#include "platform/peers/PeerWatch.h"
#include "platform/servants/servants.h"
#include "platform/transport/RefusalLog.h"

namespace Lumenar {

/// The engine's one public service: creates, finds and deletes math objects, and keeps them alive.
///
/// A counted servant: its owner calls Close and gives up its reference; the memory goes when the ORB lets go of it too.
/// Threads   any; no lock is held over a remote call, and no math object ends under the registry's lock.
class MathFactory_i : public POA_Corvanta::MathFactory::Interfaces, public Corvanta::CountedServant {
 public:
  /// TYPE is 0, "Subtract", and the registry is empty.
  MathFactory_i(GUI_AbleRegistration& registration, Corvanta::ORB_wrapper* orb);

  /// Errors   IMP_LIMIT, with a line, when as many objects live as may; MathFactoryException for a TYPE that names no
  ///          operation and for inputs that do not fit, each after its diagnostic line, and for units of which nothing
  ///          can be computed, without; an input's CORBA system exceptions; UNKNOWN or NO_MEMORY for the rest, with a
  ///          line on standard error.
  Corvanta::MathFactory::Math_ptr CreateMath(const Corvanta::MathFactory::ReadingAttribSeq& attribs) override;
  void DeleteMath(CORBA::Long id) override;
  Corvanta::MathFactory::Math_ptr GetMath(CORBA::Long id) override;
  Corvanta::EngineAttribEnum_ptr AttrType() override;
  Corvanta::MathFactory::IdSeq* ListMath() override;
  Corvanta::MathFactory::MathStatusSeq* ListMathStatus() override;
  Corvanta::MathFactory::MathReportSeq* ReportMath() override;

  /// A client has set TYPE: any number is stored; one that names no operation is refused by the next CreateMath.
  void TypeCallback(const int& value);

  /// Drops every math object, without taking its servant from the ORB, and withdraws TYPE. Later calls get
  /// OBJECT_NOT_EXIST.
  void Close() noexcept;

 protected:
  ~MathFactory_i() override;

 private:
  using Registry = std::map<CORBA::Long, boost::shared_ptr<MathBase>>;

  /// A place among the objects that may live at once, for the time of a creation.
  class Place {
   public:
    /// Errors   CORBA::IMP_LIMIT, with a line, when there is none.
    explicit Place(MathFactory_i& factory);
    ~Place();
    Place(const Place&) = delete;
    Place& operator=(const Place&) = delete;

   private:
    MathFactory_i& factory_;
  };

  boost::shared_ptr<MathBase> Build(const Corvanta::MathFactory::ReadingAttribSeq& attribs);
  void Enter(const boost::shared_ptr<MathBase>& object, const Corvanta::MathFactory::ReadingAttribSeq& attribs);
  void Register(const boost::shared_ptr<MathBase>& object);

  /// Has the engines watched whose readings are inputs of an object. Makes no remote call.
  void WatchInputs(const MathBase& object, const Corvanta::MathFactory::ReadingAttribSeq& attribs) noexcept;
  boost::shared_ptr<MathBase> Find(CORBA::Long id);
  std::vector<PortableServer::Servant_var<MathBase>> All();

  /// What all objects say of themselves; an answer of about so many bytes for each.
  template <class Sequence>
  Sequence* DescribeAll(std::size_t bytes);
  bool HalfIsGone() REQUIRES(mutex_);

  static Corvanta::ItemNamer& InstanceNamer();

  /// The engine's registered name as a topic: what stands before the topics of all its items.
  static std::string TopicPrefix(const Corvanta::ORB_wrapper& orb);

  const boost::shared_ptr<Corvanta::UpcallGate> gate_;
  Corvanta::ItemNamer namer_;         ///< of the factory's own item
  Corvanta::ItemNamer object_namer_;  ///< of the math objects' items: no topic of theirs is ever another object's
  GUI_AbleRegistration& registration_;
  Corvanta::ORB_wrapper* const orb_;
  const MathLimits limits_;
  Corvanta::EngineAttribEnum_i type_;
  Corvanta::PeerWatch input_engines_;  ///< keyed by the id of the math object
  Corvanta::RefusalLog refusals_;
  Mutex mutex_;
  std::size_t in_creation_ GUARDED_BY(mutex_) = 0;
  Registry registry_ GUARDED_BY(mutex_);
  std::size_t most_ GUARDED_BY(mutex_) = 0;  ///< objects at once, since memory was last given back
};

}  // namespace Lumenar
