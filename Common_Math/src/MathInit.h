// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <string>

#include "HwEnumerate.hh"
#include "platform/components/GUI_Able_i.h"
#include "platform/orb/EngineOrb.h"

namespace Lumenar {

class MathFactory_i;

/// The engine's one start-up object: its constructor brings the whole engine up, its destructor takes it down.
class MathInit {
 public:
  /// ORB wrapper, registration object, factory, handshake, progress 100, in this order.
  /// Errors   everything that these throw; boost::bad_lexical_cast for an instance number that is no decimal integer.
  MathInit();

  /// Math objects and factory first, then the ORB wrapper, then the rest.
  ~MathInit();

  MathInit(const MathInit&) = delete;
  MathInit& operator=(const MathInit&) = delete;

  /// Dispatches requests on the caller's thread until the ORB is shut down.
  /// Errors   Term_Exception and Quit_Exception when a signal was the reason.
  void Join();

  /// Announces the engine to the hardware-enumeration service; best effort, without a retry: a service that is not
  /// there leaves the engine without a progress interface.
  /// Errors   CORBA system exceptions of the announcement itself.
  void InitHwInterface(int instance);

  /// Reports progress in percent; does nothing without a progress interface.
  /// Errors   CORBA system exceptions.
  void PushHwProgress(double progress);

 private:
  struct FactoryOwner {
    void operator()(MathFactory_i* factory) const noexcept;
  };

  void InstallFactory();

  Corvanta::EngineOrb orb_;
  GUI_Able_i gui_able_;
  std::unique_ptr<MathFactory_i, FactoryOwner> factory_;
  Corvanta::HwEnumerate_Able_var hw_enumerate_;
  Corvanta::Progress_Interface_var progress_;
  const std::string engine_file_name_;
};

}  // namespace Lumenar
