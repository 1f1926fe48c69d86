// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <omniORB4/CORBA.h>

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "platform/transport/TransportConfig.h"

namespace Corvanta {

/// The ORB of this process: at most one lives at a time. Owns the ORB and its root POA.
///
/// The POA holds requests back until Run or Activate. Everything else of the platform finds the ORB through Current().
class ORB_base {
 public:
  /// Initialises the ORB from an argument list (the naming-service reference as -ORBInitRef, the transport
  /// configuration as -ORBSvcConf FILE; a missing file at that compiled-in path means the defaults).
  ///
  /// Environment, for tests and racks: LUMENAR_NAMING=HOST:PORT replaces the naming service,
  /// LUMENAR_TRANSPORT_CONF=FILE the configuration (this file must exist), LUMENAR_ENDPOINT its
  /// orb.endpoint, LUMENAR_NAMING_WAIT=SECONDS its orb.naming_wait_s.
  /// Errors   TransportConfigError; std::invalid_argument for an unknown -ORB argument; std::logic_error when an
  ///          ORB_base lives already or the process has an ORB that somebody else initialised; CORBA system exceptions.
  ORB_base(int argc, const char* const* argv);

  /// Runs the shutdown listeners unless Shutdown did, then ends and destroys the ORB. Never throws.
  virtual ~ORB_base();

  ORB_base(const ORB_base&) = delete;
  ORB_base& operator=(const ORB_base&) = delete;

  /// The ORB of the process. Errors   CORBA::BAD_INV_ORDER when there is none.
  static ORB_base& Current();
  static bool HasCurrent() noexcept;

  /// Not duplicated; valid as long as this object.
  CORBA::ORB_ptr Orb() const;
  PortableServer::POA_ptr Poa() const;
  const TransportConfig& Transport() const;

  /// The settings of all parts of the system, from the same file.
  const SettingsFile& Settings() const;

  /// "HOST:PORT" of the naming service in use.
  std::string NamingAddress() const;

  /// Lets the POA dispatch requests. Run does it too.
  void Activate();

  /// Dispatches requests and blocks until Shutdown; then throws Term_Exception or Quit_Exception when a signal was the
  /// reason. A service manager that started this process hears that it is ready, that it works, and when it ends
  /// (Supervision).
  void Run();

  /// Ends Run from any thread: first runs the shutdown listeners (names are unbound and subscriptions ended while calls
  /// still go out), then stops the ORB, and returns once it has stopped; at once when the calling thread is in a
  /// request. Later calls do nothing.
  ///
  /// While omniORB 4.2 stops it marks every reference of the process, and one that another thread is giving back at
  /// that very moment ends the process. So threads that make calls end in a shutdown listener, and who gives references
  /// back before this object goes does it through EngineOrb or GivingBack.
  void Shutdown() noexcept;

  /// Registers something to do, once, before the ORB stops; run in reverse order of registration. Must not throw.
  /// Returns a token for RemoveShutdownListener (which does nothing for a listener that ran).
  long AddShutdownListener(std::function<void()> listener);
  void RemoveShutdownListener(long token);

  /// Takes a servant out of its POA; a servant that is not active, and an ORB that is gone, are ignored. Never waits
  /// for requests in flight.
  static void DeactivateObject(PortableServer::ServantBase* servant) noexcept;

  /// Sets the time limit of calls through one reference; 0 is the limit of all calls.
  static void SetCallTimeout(CORBA::Object_ptr object, std::chrono::milliseconds limit);

  /// Sets the limit of all calls of the process from now on. The ORB begins with that of its arguments.
  static void SetCallTimeout(std::chrono::milliseconds limit);

  struct Impl;

 protected:
  std::unique_ptr<Impl> impl_;

 private:
  friend class EngineOrb;
  friend class GivingBack;

  /// Returns when a shutdown that has begun is complete; at once when none has, and in a request.
  void WaitForShutdown() noexcept;

  /// WaitForShutdown, and no signal begins one from here on.
  void Settle() noexcept;
};

}  // namespace Corvanta
