// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "DDS.hh"
#include "EngineReading.hh"
#include "GuiAble.hh"
#include "HwEnumerate.hh"
#include "client/Address.h"
#include "client/Error.h"
#include "client/SharedOrb.h"
#include "platform/dds/DDS_BaseObj.h"
#include "platform/orb/Naming.h"
#include "platform/orb/ORB_base.h"

namespace Lumenar::Client {

/// An engine that is known to the naming service.
struct Engine {
  std::string name;                     ///< registered name, as "PROBE/1"; "GUI_ABLE/n" when it did not tell
  std::string address;                  ///< "HOST:PORT" of its process; empty when unknown
  std::optional<Error> problem;         ///< why it could not be asked; then there is no registration
  Corvanta::GUI_Able_var registration;  ///< its registration object
};

/// One reading or attribute of an engine.
struct Reading {
  ReadingName name;
  std::string type_name;  ///< kind of its data, as in TypeInfo
  bool settable = false;  ///< an attribute
  std::string topic;
  Corvanta::EngineReadingBase_var reference;
};

/// The indexes of the readings that a text means, see MatchReadings; `engines` are those whose readings they are.
/// Errors   those of MatchReadings; Error Unreachable when it may mean one of an engine that does not answer.
std::vector<std::size_t> IndexesFor(const std::string& text, const std::vector<Reading>& readings,
                                    const std::vector<Engine>& engines);

/// A client's way to a platform: its naming service, what is registered there, its topic manager. A process may have
/// several, to one platform or to several; they share the ORB of the process, which lives as long as one of them.
///
/// Every remote call is limited to the timeout, the longest of those of the Connections that live; a call that fails is
/// an Error.
/// Threads   any; its destruction comes when no call goes through it any more.
class Connection {
 public:
  /// Needs no answer from anywhere yet. The naming service and the transport configuration are those of the program's
  /// localargv, or those that the environment names (see ORB_base).
  /// Errors   Error BadArgument for a timeout that is not positive, or above 1e6 seconds; those of ORB_base.
  explicit Connection(std::chrono::milliseconds timeout = std::chrono::seconds(5));

  /// To the platform whose naming service is at an address, "HOST:PORT", whatever arguments and environment say of it.
  /// Errors   as above; Error BadArgument for an address of a form that is none.
  explicit Connection(const std::string& naming_address, std::chrono::milliseconds timeout = std::chrono::seconds(5));

  /// Whatever was made with it has gone before.
  ~Connection();

  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;

  std::string NamingAddress() const { return naming_->Address(); }
  std::chrono::milliseconds Timeout() const { return timeout_; }
  Corvanta::ORB_base& Orb() { return *orb_; }

  /// The way to the platform's topic manager.
  Corvanta::DdsBaseAccess& Topics() { return topics_; }

  /// Every engine, also those that do not answer, ordered by name. The engines are asked at the same time, so that
  /// several that hang cost one time limit.
  /// Errors   Error Unreachable when the naming service does not answer.
  std::vector<Engine> Engines();

  /// The version of the platform that an engine is built from, as "1.0.0"; empty where it is too old to tell.
  /// Errors   that of an engine that could not be asked; those of remote calls.
  std::string VersionOf(const Engine& engine);

  /// All items of all engines that answer, in the order of their registration.
  std::vector<Reading> Readings();

  /// The items of those of the engines that answer, in the order of their registration.
  std::vector<Reading> ReadingsOf(const std::vector<Engine>& engines);

  /// The reading that `text` means, see MatchReading.
  /// Errors   those of MatchReading; Error Unreachable when the reading may be one of an engine that does not answer.
  Reading FindReading(const std::string& text);

  /// The object registered as Lumenar/local/NAME, "NAME" being as "DDS_MANAGER/1".
  /// Errors   Error NotFound, Unreachable.
  CORBA::Object_var Lookup(const std::string& name);

  Corvanta::DDS_Manager_var TopicManager();
  Corvanta::HwEnumerate_Able_var HwEnumeration();

  /// "HOST:PORT" of the process behind a reference; empty when unknown.
  std::string AddressOf(CORBA::Object_ptr object) const;

 private:
  template <class Call>
  auto AtNaming(Call&& call);
  std::vector<std::string> NamesBelow(const std::string& context);
  std::vector<Engine> Registrations();
  Engine AskRegistration(const std::string& name) noexcept;
  void AddSilentEngines(std::vector<Engine>& engines);

  const std::chrono::milliseconds timeout_;
  SharedOrb orb_;
  std::unique_ptr<Corvanta::Naming> naming_;
  std::unique_ptr<Corvanta::DdsBaseAccess> own_topics_;  ///< null where the way is that of the process
  Corvanta::DdsBaseAccess& topics_;
};

/// `object` as the interface Interface.
/// Errors   Error Refused when it is not one; as the remote call.
template <class Interface>
typename Interface::_var_type Narrowed(CORBA::Object_ptr object, const std::string& subject) {
  typename Interface::_var_type narrowed =
      Remote(subject, object, "is its process running?", [&] { return Interface::_narrow(object); });
  if (CORBA::is_nil(narrowed)) throw Error(ErrorKind::Refused, subject + " is of another kind than expected");
  return narrowed;
}

}  // namespace Lumenar::Client
