// SPDX-License-Identifier: Apache-2.0
#include "platform/components/GUI_Able_i.h"

#include <map>
#include <stdexcept>
#include <string>
#include <utility>

#include "platform/base/InstanceCounter.h"
#include "platform/base/Mutex.h"
#include "platform/base/ProcessUse.h"
#include "platform/base/Version.h"
#include "platform/dds/DDS_BaseObj.h"
#include "platform/orb/ORB_wrapper.h"
#include "platform/orb/names.h"
#include "platform/servants/servants.h"
#include "platform/transport/LargeAnswer.h"

namespace Lumenar {
namespace {

using Corvanta::ORB_base;
using Corvanta::ORB_wrapper;

constexpr std::size_t kItemBytes = 512;  // of an answer, about

ORB_wrapper& CurrentWrapper() {
  auto* wrapper = ORB_base::HasCurrent() ? dynamic_cast<ORB_wrapper*>(&ORB_base::Current()) : nullptr;
  if (wrapper == nullptr) throw std::logic_error("GUI_Able_i: expected an ORB_wrapper in this process, found none");
  return *wrapper;
}

void Fill(Corvanta::Item& item, const GUI_AbleRegistration::Entry& entry) {
  item.name = entry.name.c_str();
  item.type_name = entry.type_name.c_str();
  item.settable = entry.settable;
  item.topic = entry.topic.c_str();
  item.reference = Corvanta::EngineReadingBase::_duplicate(entry.reference);
}

/// The list of items, and what the ORB calls.
class Servant : public POA_Corvanta::GUI_Able, public Corvanta::CountedServant {
 public:
  Servant(std::string engine, Corvanta::DdsBaseAccess& topics) : engine_(std::move(engine)), topics_(topics) {}

  Corvanta::DdsBaseAccess& Topics() const noexcept { return topics_; }

  long Add(const GUI_AbleRegistration::Entry& entry) {
    Lock lock(mutex_);
    items_.emplace(++last_token_, entry);
    return last_token_;
  }

  void Remove(long token) noexcept {
    Lock lock(mutex_);
    items_.erase(token);
  }

  char* EngineName() override {
    RequireOpen();
    return CORBA::string_dup(engine_.c_str());
  }

  std::size_t Count() {
    Lock lock(mutex_);
    return items_.size();
  }

  Corvanta::ItemSeq* Items() override {
    RequireOpen();
    Corvanta::LargeAnswer::Announce(Count() * kItemBytes);
    Corvanta::ItemSeq_var all = new Corvanta::ItemSeq;
    Lock lock(mutex_);
    all->length(static_cast<CORBA::ULong>(items_.size()));
    CORBA::ULong i = 0;
    for (const auto& [token, entry] : items_) Fill(all[i++], entry);
    return all._retn();
  }

  Corvanta::InstanceCountSeq* Instances() override {
    RequireOpen();
    const auto counts = InstanceCounter::All();
    Corvanta::InstanceCountSeq_var all = new Corvanta::InstanceCountSeq;
    all->length(static_cast<CORBA::ULong>(counts.size()));
    for (CORBA::ULong i = 0; i < all->length(); ++i) {
      all[i].class_name = counts[i].first.c_str();
      all[i].live = static_cast<CORBA::Long>(counts[i].second);
    }
    return all._retn();
  }

  CORBA::ULongLong LostSamples() override {
    RequireOpen();
    return topics_.LostSamples();
  }

  char* Version() override {
    RequireOpen();
    return CORBA::string_dup(Lumenar::Version());
  }

  Corvanta::ProcessUse Use() override {
    RequireOpen();
    const ProcessUse use = UseOfThisProcess();
    return {use.processor_s, use.resident_bytes};
  }

 protected:
  ~Servant() override = default;

 private:
  const std::string engine_;
  Corvanta::DdsBaseAccess& topics_;
  Mutex mutex_;                                                           // a leaf
  std::map<long, GUI_AbleRegistration::Entry> items_ GUARDED_BY(mutex_);  // tokens rise: in order of registration
  long last_token_ GUARDED_BY(mutex_) = 0;
};

}  // namespace

struct GUI_Able_i::Impl {
  Impl(std::string engine, Corvanta::DdsBaseAccess& topics) : servant(new Servant(std::move(engine), topics)) {}

  explicit Impl(ORB_wrapper& wrapper) : Impl(wrapper.EngineName(), Corvanta::DdsBaseAccess::Instance()) {
    wrapper.Register(Corvanta::kRegistrationName, servant.Reference());
  }

  Corvanta::OwnedServant<Corvanta::GUI_Able, Servant> servant;
};

GUI_Able_i::GUI_Able_i() : impl_(std::make_unique<Impl>(CurrentWrapper())) {}

GUI_Able_i::GUI_Able_i(std::string engine, Corvanta::DdsBaseAccess& topics)
    : impl_(std::make_unique<Impl>(std::move(engine), topics)) {}

GUI_Able_i::~GUI_Able_i() = default;

long GUI_Able_i::Add(const Entry& entry) { return impl_->servant->Add(entry); }

void GUI_Able_i::Remove(long token) noexcept { impl_->servant->Remove(token); }

Corvanta::DdsBaseAccess& GUI_Able_i::Topics() { return impl_->servant->Topics(); }

Corvanta::GUI_Able_ptr GUI_Able_i::Reference() const noexcept { return impl_->servant.Reference(); }

}  // namespace Lumenar
