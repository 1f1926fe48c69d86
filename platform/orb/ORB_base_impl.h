// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <memory>
#include <utility>

#include "platform/orb/Naming.h"
#include "platform/orb/ORB_base.h"
#include "platform/orb/OrbArguments.h"
#include "platform/orb/ShutdownListeners.h"
#include "platform/orb/Supervision.h"
#include "platform/transport/GuardedTransport.h"

namespace Corvanta {

/// The parts of an ORB_base. Only the ORB classes of this folder include this file.
struct ORB_base::Impl {
  explicit Impl(OrbArguments orb_arguments) : arguments(std::move(orb_arguments)), connections(arguments.transport) {}
  ~Impl();
  Impl(const Impl&) = delete;
  Impl& operator=(const Impl&) = delete;

  void InitialiseOrb();
  void WaitUntilStopped();
  void StopOrb() noexcept;

  OrbArguments arguments;
  GuardedTransport connections;
  CORBA::ORB_var orb;
  PortableServer::POA_var poa;
  PortableServer::POAManager_var manager;
  std::unique_ptr<Naming> naming;
  ShutdownListeners listeners;
  std::atomic<bool> handles_signals{false};
  Supervision supervision;

  Lumenar::Mutex mutex;
  Lumenar::Condition changed;
  bool stopped GUARDED_BY(mutex) = false;  // Shutdown has done all it does
};

}  // namespace Corvanta
