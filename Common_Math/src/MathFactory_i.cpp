// SPDX-License-Identifier: Apache-2.0
#include "Common_Math/src/MathFactory_i.h"

#include <algorithm>
#include <exception>
#include <new>
#include <set>
#include <string>
#include <vector>

#include "Common_Math/src/Builders.h"
#include "Common_Math/src/HistoryMemory.h"
#include "platform/base/Diagnostic.h"
#include "platform/base/TraceMemory.h"
#include "platform/orb/CorbaText.h"
#include "platform/transport/LargeAnswer.h"
#include "platform/units/exceptions.h"

namespace Lumenar {
namespace {

using Corvanta::EngineAttribEnumParamElem;
using Corvanta::MathFactory::Math_ptr;
using Corvanta::MathFactory::ReadingAttribSeq;

constexpr const char* kFactoryPath = "Common_Math/src/MathFactory_i";
constexpr std::size_t kStatusBytes = 512;  // of an answer, about
constexpr std::size_t kReportBytes = 512;

std::vector<EngineAttribEnumParamElem> TypeElements() {
  std::vector<EngineAttribEnumParamElem> elements;
  for (const OperationRow& row : Operations()) elements.push_back({static_cast<int>(elements.size()), row.name});
  return elements;
}

/// The topic of a factory that announces its objects' coming and going; this one announces nothing.
[[maybe_unused]] const std::string add_delete_dds_topic = "MathAddRemoveTopic";

/// An exception that is no CORBA exception must not leave an operation: a client in this process would get it raw.
[[noreturn]] void ReportToClient() {
  try {
    throw;
  } catch (const CORBA::Exception&) {
    throw;
  } catch (const Value::Value_exception& refusal) {
    throw Corvanta::MathFactory::MathFactoryException((std::string("Invalid units: ") + refusal.what()).c_str());
  } catch (const std::bad_alloc&) {
    WriteError("CreateMath: out of memory");
    throw CORBA::NO_MEMORY();
  } catch (const std::exception& failure) {
    WriteError(std::string("CreateMath: ") + failure.what());
    throw CORBA::UNKNOWN();
  } catch (...) {
    WriteError("CreateMath: unknown exception");
    throw CORBA::UNKNOWN();
  }
}

void MarkInputsOf(const std::set<std::string>& away, Corvanta::MathFactory::MathReport& report) {
  for (CORBA::ULong i = 0; i < report.inputs.length(); ++i) {
    const std::string topic = report.inputs[i].topic.in();
    report.inputs[i].away = away.count(Corvanta::ItemNamer::EngineOf(topic)) != 0;
  }
}

}  // namespace

Corvanta::ItemNamer& MathFactory_i::InstanceNamer() {
  static Corvanta::ItemNamer namer("");
  return namer;
}

std::string MathFactory_i::TopicPrefix(const Corvanta::ORB_wrapper& orb) {
  return InstanceNamer().DDS_Topic(InstanceNamer().Add(orb.EngineName()));
}

MathFactory_i::MathFactory_i(GUI_AbleRegistration& registration, Corvanta::ORB_wrapper* orb)
    : gate_(Corvanta::UpcallGate::Create(this)),
      namer_(TopicPrefix(*orb)),
      object_namer_(namer_.Prefix(), Corvanta::ItemNamer::MarkOfThisRun()),
      registration_(registration),
      orb_(orb),
      limits_(orb->Settings()),
      type_(namer_, registration_, "TYPE", 0, gate_->Guard([this](const int& value) { TypeCallback(value); }),
            TypeElements()),
      input_engines_(*orb) {
  HistoryMemory::SetLimit(limits_.history_bytes);
  gate_->Open();
}

MathFactory_i::~MathFactory_i() { gate_->Close(); }

Math_ptr MathFactory_i::CreateMath(const ReadingAttribSeq& attribs) {
  RequireOpen();
  try {
    const Place place(*this);
    const boost::shared_ptr<MathBase> object = Build(attribs);
    Enter(object, attribs);
    WatchInputs(*object, attribs);
    return object->Reference();
  } catch (...) {
    ReportToClient();
  }
}

MathFactory_i::Place::Place(MathFactory_i& factory) : factory_(factory) {
  const std::size_t most = factory_.limits_.objects;
  {
    Lock lock(factory_.mutex_);
    if (factory_.registry_.size() + factory_.in_creation_ < most) {
      ++factory_.in_creation_;
      return;
    }
  }
  factory_.refusals_.Say("objects",
                         "CreateMath refused: there are " + std::to_string(most) + " math objects (math.max_objects)");
  throw CORBA::IMP_LIMIT(0, CORBA::COMPLETED_NO);
}

MathFactory_i::Place::~Place() {
  Lock lock(factory_.mutex_);
  --factory_.in_creation_;
}

boost::shared_ptr<MathBase> MathFactory_i::Build(const ReadingAttribSeq& attribs) {
  const int type = type_.Get();
  if (type < 0 || type >= static_cast<int>(Operations().size())) {
    Diagnose(kFactoryPath, "CreateMath", " Error: Invalid math operation: ", type);
    throw Corvanta::MathFactory::MathFactoryException("Invalid Math Type");
  }
  return Operations()[type].builder(object_namer_, registration_, attribs);
}

/// An object that does not get into the registry does not stay with the ORB either.
void MathFactory_i::Enter(const boost::shared_ptr<MathBase>& object, const ReadingAttribSeq& attribs) {
  object->Keep(attribs, gate_->Guard([this](Corvanta::MathFactory::MathReport& report) {
    MarkInputsOf(input_engines_.Away(), report);
  }));
  try {
    object->Activate();
    Register(object);
  } catch (...) {
    orb_->DeactivateObject(object.get());
    throw;
  }
}

void MathFactory_i::Register(const boost::shared_ptr<MathBase>& object) {
  Lock lock(mutex_);
  if (IsClosed()) throw CORBA::OBJECT_NOT_EXIST();  // the factory went while the object was built; so does the object
  registry_[object->Id()] = object;
  most_ = std::max(most_, registry_.size());
}

// An object works also when its inputs cannot be watched, so no failure here ends its creation.
void MathFactory_i::WatchInputs(const MathBase& object, const ReadingAttribSeq& attribs) noexcept {
  try {
    const std::vector<std::string> topics = object.InputTopics();
    for (CORBA::ULong i = 0; i < topics.size(); ++i) {
      const std::string engine = Corvanta::ItemNamer::EngineOf(topics[i]);
      if (!engine.empty() && engine != orb_->EngineName()) input_engines_.Add(object.Id(), engine, attribs[i]);
    }
    if (!Find(object.Id())) input_engines_.Forget(object.Id());  // deleted meanwhile
  } catch (const CORBA::Exception& error) {
    WriteError("input not watched: " + CorbaText(error));
  } catch (const std::exception& failure) {
    WriteError(std::string("input not watched: ") + failure.what());
  }
}

boost::shared_ptr<MathBase> MathFactory_i::Find(CORBA::Long id) {
  Lock lock(mutex_);
  const auto found = registry_.find(id);
  return found == registry_.end() ? boost::shared_ptr<MathBase>() : found->second;
}

Math_ptr MathFactory_i::GetMath(CORBA::Long id) {
  RequireOpen();
  const boost::shared_ptr<MathBase> object = Find(id);
  return object ? object->Reference() : Corvanta::MathFactory::Math::_nil();
}

void MathFactory_i::DeleteMath(CORBA::Long id) {
  RequireOpen();
  boost::shared_ptr<MathBase> object;
  bool half_is_gone = false;
  {
    Lock lock(mutex_);
    const auto found = registry_.find(id);
    if (found == registry_.end()) return;
    object.swap(found->second);
    registry_.erase(found);
    half_is_gone = HalfIsGone();
  }
  input_engines_.Forget(id);
  orb_->DeactivateObject(object.get());
  object.reset();
  if (half_is_gone) GiveBackMemory();
}

/// Whether half of the objects went since memory was last given back: so rarely that no deletion is slow on average.
bool MathFactory_i::HalfIsGone() {
  constexpr std::size_t kFew = 16;
  if (most_ < kFew || registry_.size() > most_ / 2) return false;
  most_ = registry_.size();
  return true;
}

Corvanta::EngineAttribEnum_ptr MathFactory_i::AttrType() {
  RequireOpen();
  return type_._this();
}

Corvanta::MathFactory::IdSeq* MathFactory_i::ListMath() {
  RequireOpen();
  Corvanta::MathFactory::IdSeq_var ids = new Corvanta::MathFactory::IdSeq;
  Lock lock(mutex_);
  ids->length(static_cast<CORBA::ULong>(registry_.size()));
  CORBA::ULong i = 0;
  for (const auto& entry : registry_) ids[i++] = entry.first;
  return ids._retn();
}

Corvanta::MathFactory::MathStatusSeq* MathFactory_i::ListMathStatus() {
  RequireOpen();
  return DescribeAll<Corvanta::MathFactory::MathStatusSeq>(kStatusBytes);
}

Corvanta::MathFactory::MathReportSeq* MathFactory_i::ReportMath() {
  RequireOpen();
  Corvanta::MathFactory::MathReportSeq_var reports = DescribeAll<Corvanta::MathFactory::MathReportSeq>(kReportBytes);
  const std::set<std::string> away = input_engines_.Away();
  for (CORBA::ULong i = 0; !away.empty() && i < reports->length(); ++i) MarkInputsOf(away, reports[i]);
  return reports._retn();
}

template <class Sequence>
Sequence* MathFactory_i::DescribeAll(std::size_t bytes) {
  const auto objects = All();
  Corvanta::LargeAnswer::Announce(objects.size() * bytes);
  typename Sequence::_var_type list = new Sequence;
  list->length(static_cast<CORBA::ULong>(objects.size()));
  CORBA::ULong count = 0;
  for (const auto& object : objects) {
    try {
      object->Describe(list[count]);
      ++count;
    } catch (const CORBA::OBJECT_NOT_EXIST&) {  // deleted meanwhile
    }
  }
  list->length(count);
  return list._retn();
}

/// Every object in the registry, held in memory alone: a deletion closes it all the same.
std::vector<PortableServer::Servant_var<MathBase>> MathFactory_i::All() {
  std::vector<PortableServer::Servant_var<MathBase>> objects;
  Lock lock(mutex_);
  objects.reserve(registry_.size());
  for (const auto& entry : registry_) {
    entry.second->_add_ref();
    objects.emplace_back(entry.second.get());
  }
  return objects;
}

void MathFactory_i::TypeCallback(const int& value) { type_ = value; }

void MathFactory_i::Close() noexcept {
  CountedServant::Close();
  gate_->Close();
  Registry dropped;
  {
    Lock lock(mutex_);
    dropped.swap(registry_);
  }
  input_engines_.End();
  dropped.clear();
  type_.Close();
}

}  // namespace Lumenar
