// SPDX-License-Identifier: Apache-2.0
#include "instruments/common/InstrumentEngine.h"

#include <boost/lexical_cast.hpp>
#include <utility>
#include <vector>

#include "HwEnumerate.hh"
#include "platform/base/Diagnostic.h"
#include "platform/orb/CorbaText.h"
#include "platform/orb/names.h"

namespace Lumenar::Instruments {

using Corvanta::ORB_wrapper;

InstrumentEngine::InstrumentEngine(const InstrumentKind& kind)
    : InstrumentEngine(kind, kind.create(SettingsFromEnvironment(kind.prefix))) {}

InstrumentEngine::InstrumentEngine(const InstrumentKind& kind, std::unique_ptr<Instrument> instrument)
    : kind_(kind),
      orb_(kind.name, Corvanta::kLocalContext),
      namer_(orb_->EngineName()),
      instrument_(std::move(instrument)) {
  instrument_->Offer({namer_, gui_able_});
  InstallRegistration();
  orb_->AddShutdownListener([this] { instrument_->Stop(); });  // while its samples still go out
  Announce();
}

InstrumentEngine::~InstrumentEngine() {
  orb_.End([this] { instrument_->Stop(); });
}

void InstrumentEngine::InstallRegistration() {
  std::vector<ORB_wrapper::ChildInfo> children(1);
  const std::string instance = orb_->GetInstanceNum(Corvanta::kRegistrationName);
  children[0].object = orb_->Resolve(Corvanta::LocalPath(Corvanta::kRegistrationName + ('/' + instance)));
  orb_->InstallChildObj(children);
}

void InstrumentEngine::Announce() noexcept {
  const std::string title = kind_.title;
  try {
    std::vector<ORB_wrapper::ClientInfo> clients(1);
    clients[0].path = Corvanta::LocalPath(Corvanta::kHardwareEnumeration);
    orb_->LookupClient(clients);  // one that hangs costs a quarter of a second, not the time limits of two calls
    Corvanta::HwEnumerate_Able_var service = Corvanta::HwEnumerate_Able::_narrow(clients[0].object);
    if (CORBA::is_nil(service)) throw CORBA::INV_OBJREF(0, CORBA::COMPLETED_NO);
    const auto instance = boost::lexical_cast<CORBA::Long>(orb_->GetInstanceNum(Corvanta::kRegistrationName));
    Corvanta::Progress_Interface_var progress = service->GetProgressInterface(kind_.file, instance, 0);
    progress->SetProgress("100");
    WriteOut(title + " announced to hardware enumeration");
  } catch (const CORBA::Exception& failure) {  // the instrument runs without the service
    WriteOut(title + " not announced to hardware enumeration: " + CorbaText(failure));
  } catch (const std::exception& failure) {
    WriteOut(title + " not announced to hardware enumeration: " + failure.what());
  }
}

void InstrumentEngine::Join() {
  orb_->Activate();
  instrument_->Start();
  orb_->Run();
}

}  // namespace Lumenar::Instruments
