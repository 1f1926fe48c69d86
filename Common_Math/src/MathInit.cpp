// SPDX-License-Identifier: Apache-2.0
#include "Common_Math/src/MathInit.h"

#include <boost/lexical_cast.hpp>
#include <sstream>
#include <vector>

#include "Common_Math/src/MathFactory_i.h"
#include "platform/base/Diagnostic.h"
#include "platform/orb/names.h"

namespace Lumenar {

using Corvanta::ORB_wrapper;

void MathInit::FactoryOwner::operator()(MathFactory_i* factory) const noexcept {
  factory->Close();
  factory->_remove_ref();
}

MathInit::MathInit()
    : orb_(Corvanta::kMathEngineName, Corvanta::kLocalContext),
      hw_enumerate_(Corvanta::HwEnumerate_Able::_nil()),
      progress_(Corvanta::Progress_Interface::_nil()),
      engine_file_name_("math_factory.engine") {
  factory_.reset(new MathFactory_i(gui_able_, orb_.Get()));
  InstallFactory();
  InitHwInterface(boost::lexical_cast<int>(orb_->GetInstanceNum(Corvanta::kRegistrationName)));
  PushHwProgress(100.0);
}

MathInit::~MathInit() {
  orb_.End([this] { factory_.reset(); });
}

void MathInit::InstallFactory() {
  std::vector<ORB_wrapper::ChildInfo> children(1);
  children[0].object = factory_->_this();
  orb_->InstallChildObj(children);
}

void MathInit::Join() { orb_->Run(); }

void MathInit::InitHwInterface(int instance) {
  WriteOut("MathInit::Start resolving hw inteface");
  std::vector<ORB_wrapper::ClientInfo> clients(1);
  // One service in the rack, whatever our own instance.
  clients[0].path = Corvanta::LocalPath(Corvanta::kHardwareEnumeration);
  try {
    orb_->LookupClient(clients);
    hw_enumerate_ = Corvanta::HwEnumerate_Able::_narrow(clients[0].object);
  } catch (...) {  // the engine runs without the service
    WriteOut("Math engine : Hw enum interface narrow failed.");
  }
  if (CORBA::is_nil(hw_enumerate_)) {
    WriteOut("Math engine : Hw enum interface hwenum_ptr is null.");
    return;
  }
  WriteOut("MathInit Before asking for progress ptr - ");
  progress_ = hw_enumerate_->GetProgressInterface(engine_file_name_.c_str(), instance, 0);
  WriteOut("MathInit After getting progress ptr");
}

void MathInit::PushHwProgress(double progress) {
  if (CORBA::is_nil(progress_)) return;
  std::ostringstream text;
  text << progress;
  WriteOut("MathInit Calling the hw enum_engine with progress - " + text.str());
  progress_->SetProgress(text.str().c_str());
}

}  // namespace Lumenar
