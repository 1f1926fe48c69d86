// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <omniORB4/CORBA.h>
#include <omniORB4/Naming.hh>

#include <chrono>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "platform/base/Mutex.h"
#include "platform/base/PeriodicTask.h"
#include "platform/orb/names.h"

namespace Corvanta {

/// The naming service as this process sees it, and the names that this process has there.
///
/// The service is looked up anew for every operation, so one that was restarted is found again; while names are held, a
/// thread puts those back that a restarted service has lost, and says in one line on standard error when the service
/// goes away and when it is back.
/// Errors   of every operation that is not noexcept: CORBA system exceptions and those of CosNaming.
/// Threads  any.
class Naming {
 public:
  using Path = NamePath;

  /// The naming service that the ORB was initialised with; `address` ("HOST:PORT") is for messages.
  Naming(CORBA::ORB_ptr orb, std::string address) : orb_(CORBA::ORB::_duplicate(orb)), address_(std::move(address)) {}

  /// The naming service at an address, "HOST:PORT", whatever the ORB was initialised with.
  /// Errors   std::invalid_argument for an address of a form that is none.
  static std::unique_ptr<Naming> At(CORBA::ORB_ptr orb, const std::string& address);

  ~Naming();
  Naming(const Naming&) = delete;
  Naming& operator=(const Naming&) = delete;

  /// Returns when the service answers, or after `limit`: the next operation then tells what is wrong. Where it does not
  /// answer at once, one line on standard error says that this process waits.
  /// Errors   Signal_Exception when a signal came meanwhile.
  void WaitUntilItAnswers(std::chrono::seconds limit) const;

  CORBA::Object_ptr Resolve(const Path& path) const;
  /// With a limit of its own, whatever that of other calls is.
  CORBA::Object_ptr ResolveWithin(const Path& path, std::chrono::milliseconds limit) const;
  void Bind(const Path& path, CORBA::Object_ptr object);
  /// False, having done nothing, when a live object has the name.
  bool BindIfFree(const Path& path, CORBA::Object_ptr object);
  int BindInstance(const Path& context, CORBA::Object_ptr object);
  /// Errors   also IMP_LIMIT for 100,000 names and more.
  std::vector<std::string> List(const Path& context) const;

  /// Unbinds every name that is still ours; none is put back after that.
  void UnbindAll() noexcept;

  const std::string& Address() const noexcept { return address_; }

 private:
  CosNaming::NamingContext_ptr Root() const;
  CosNaming::NamingContext_ptr LimitedRoot(std::chrono::milliseconds limit) const;
  bool IsThere(std::chrono::milliseconds limit) const;
  void NoteWait(std::chrono::seconds limit) const;
  template <class Operation>
  void WithContexts(const Path& path, Operation operation) const;
  void CreateContexts(const Path& path) const;
  bool BindNew(const Path& path, CORBA::Object_ptr object);
  bool ReplaceStale(const Path& path, CORBA::Object_ptr object);
  bool IsTaken(const CosNaming::Name& name);
  bool IsOurs(CORBA::Object_ptr object);
  void Remember(const Path& path, CORBA::Object_ptr object);
  void UnbindOurs(const Path& path, CORBA::Object_ptr object) const;
  std::chrono::milliseconds KeepNames();
  void EndKeeper() noexcept;
  void RestoreLostNames();
  void Restore(const Path& path, CORBA::Object_ptr object);
  void NoteTrouble(const char* trouble, const CORBA::SystemException& error);
  void NoteBack();

  CORBA::ORB_var orb_;
  const std::string address_;
  CORBA::Object_var root_;  ///< of the service at an address of its own; nil for the ORB's
  Lumenar::Mutex mutex_;
  std::map<Path, CORBA::Object_var> names_ GUARDED_BY(mutex_);
  bool ended_ GUARDED_BY(mutex_) = false;
  /// The keeper's: what its last look met and standard error says; null when all was well.
  const char* trouble_ = nullptr;
  Lumenar::PeriodicTask keeper_{[this] { return Lumenar::PeriodicTask::Clock::now() + KeepNames(); }};
};

}  // namespace Corvanta
