// SPDX-License-Identifier: Apache-2.0
#include "platform/orb/Naming.h"

#include <chrono>
#include <stdexcept>
#include <string_view>
#include <thread>
#include <utility>

#include "platform/base/Diagnostic.h"
#include "platform/base/ServiceManager.h"
#include "platform/orb/CorbaText.h"
#include "platform/signals/Signals.h"
#include "platform/transport/addresses.h"

namespace Corvanta {
namespace {

constexpr CORBA::ULong kProbeLimit_ms = 500;
constexpr std::chrono::milliseconds kRestorePeriod(1000);
constexpr std::chrono::milliseconds kRestorePeriodWhileAway(250);  // a try that nobody answers costs next to nothing
constexpr const char* kIsAway = "is away";
constexpr const char* kTakesNoNames = "does not take names";
constexpr int kMostInstances = 9999;

CosNaming::Name NameOf(const Naming::Path& path) {
  CosNaming::Name name;
  name.length(static_cast<CORBA::ULong>(path.size()));
  for (CORBA::ULong i = 0; i < name.length(); ++i) name[i].id = path[i].c_str();
  return name;
}

/// The name under which an engine claims the right to replace the stale binding of `path`.
CosNaming::Name ClaimOf(const Naming::Path& path) {
  CosNaming::Name name = NameOf(path);
  name[name.length() - 1].kind = "claim";
  return name;
}

/// Whether an object's process answers. A process that is there and does not answer within the limit counts as alive:
/// an engine that still starts holds its requests back.
bool Answers(CORBA::Object_ptr object) {
  omniORB::setClientCallTimeout(object, kProbeLimit_ms);
  try {
    return !object->_non_existent();
  } catch (const CORBA::TRANSIENT&) {
    return false;
  } catch (const CORBA::COMM_FAILURE&) {
    return false;
  } catch (const CORBA::OBJECT_NOT_EXIST&) {
    return false;
  } catch (const CORBA::SystemException&) {
    return true;
  }
}

}  // namespace

Naming::~Naming() { EndKeeper(); }

std::unique_ptr<Naming> Naming::At(CORBA::ORB_ptr orb, const std::string& address) {
  const std::string problem = HostPortProblem(address);
  if (!problem.empty()) throw std::invalid_argument("\"" + address + "\" " + problem);
  auto naming = std::make_unique<Naming>(orb, address);
  naming->root_ = orb->string_to_object(("corbaloc:iiop:" + address + "/NameService").c_str());
  return naming;
}

void Naming::EndKeeper() noexcept {
  {
    Lumenar::Lock lock(mutex_);
    ended_ = true;
  }
  keeper_.Stop();
}

CosNaming::NamingContext_ptr Naming::Root() const {
  CORBA::Object_var object =
      CORBA::is_nil(root_) ? orb_->resolve_initial_references("NameService") : CORBA::Object::_duplicate(root_);
  CosNaming::NamingContext_var root = CosNaming::NamingContext::_unchecked_narrow(object);  // saves asking for its type
  if (CORBA::is_nil(root)) throw CORBA::INV_OBJREF(0, CORBA::COMPLETED_NO);
  return root._retn();
}

CORBA::Object_ptr Naming::Resolve(const Path& path) const {
  CosNaming::NamingContext_var root = Root();
  CORBA::Object_var object = root->resolve(NameOf(path));
  if (CORBA::is_nil(object)) throw CORBA::INV_OBJREF(0, CORBA::COMPLETED_YES);
  return object._retn();
}

/// The service with a limit of its own, which does not touch other calls through the root.
CosNaming::NamingContext_ptr Naming::LimitedRoot(std::chrono::milliseconds limit) const {
  const CosNaming::NamingContext_var root = Root();
  const CORBA::String_var text = orb_->object_to_string(root);
  const CORBA::Object_var own = orb_->string_to_object(text);
  CosNaming::NamingContext_var limited = CosNaming::NamingContext::_unchecked_narrow(own);
  omniORB::setClientCallTimeout(limited,
                                static_cast<CORBA::ULong>(limit.count()));  // a narrowed reference does not inherit it
  return limited._retn();
}

bool Naming::IsThere(std::chrono::milliseconds limit) const {
  try {
    const CosNaming::NamingContext_var root = LimitedRoot(limit);
    return !root->_non_existent();
  } catch (const CORBA::SystemException&) {
    return false;
  }
}

void Naming::WaitUntilItAnswers(std::chrono::seconds limit) const {
  using Clock = std::chrono::steady_clock;
  constexpr std::chrono::milliseconds kPause{100};
  const auto end = Clock::now() + limit;
  bool was_told = false;
  while (Clock::now() < end && !IsThere(std::chrono::milliseconds(kProbeLimit_ms))) {
    Lumenar::Signals::ThrowIfPending();
    if (!std::exchange(was_told, true)) NoteWait(limit);
    std::this_thread::sleep_for(kPause);  // a service that is not there refuses at once, so looking often is cheap
  }
}

void Naming::NoteWait(std::chrono::seconds limit) const {
  const std::string line =
      "naming service at " + address_ + " is waited for, " + std::to_string(limit.count()) + " s at most";
  Lumenar::WriteError(line, Lumenar::Priority::Notice);
  Lumenar::TellServiceManager("STATUS=" + line);
}

CORBA::Object_ptr Naming::ResolveWithin(const Path& path, std::chrono::milliseconds limit) const {
  const CosNaming::NamingContext_var limited = LimitedRoot(limit);
  CORBA::Object_var object = limited->resolve(NameOf(path));
  if (CORBA::is_nil(object)) throw CORBA::INV_OBJREF(0, CORBA::COMPLETED_YES);
  return object._retn();
}

/// Runs an operation that binds `path`, and once more with its contexts when they were missing.
template <class Operation>
void Naming::WithContexts(const Path& path, Operation operation) const {
  CosNaming::NamingContext_var root = Root();
  try {
    operation(root);
  } catch (const CosNaming::NamingContext::NotFound&) {
    CreateContexts(path);
    operation(root);
  }
}

void Naming::CreateContexts(const Path& path) const {
  CosNaming::NamingContext_var root = Root();
  for (std::size_t length = 1; length < path.size(); ++length) {
    try {
      CosNaming::NamingContext_var context = root->bind_new_context(NameOf(Path(path.begin(), path.begin() + length)));
    } catch (const CosNaming::NamingContext::AlreadyBound&) {  // somebody else was first
    }
  }
}

void Naming::Bind(const Path& path, CORBA::Object_ptr object) {
  WithContexts(path, [&](CosNaming::NamingContext_ptr root) { root->rebind(NameOf(path), object); });
  Remember(path, object);
}

bool Naming::BindIfFree(const Path& path, CORBA::Object_ptr object) {
  if (!BindNew(path, object)) return false;
  Remember(path, object);
  return true;
}

int Naming::BindInstance(const Path& context, CORBA::Object_ptr object) {
  Path path = context;
  path.emplace_back();
  for (int number = 1; number <= kMostInstances; ++number) {
    path.back() = std::to_string(number);
    if (BindIfFree(path, object)) return number;
  }
  throw CORBA::NO_RESOURCES(0, CORBA::COMPLETED_NO);
}

bool Naming::BindNew(const Path& path, CORBA::Object_ptr object) {
  try {
    WithContexts(path, [&](CosNaming::NamingContext_ptr root) { root->bind(NameOf(path), object); });
    return true;
  } catch (const CosNaming::NamingContext::AlreadyBound&) {
    return !IsTaken(NameOf(path)) && ReplaceStale(path, object);
  }
}

/// Replaces a binding whose object is gone. Of several engines that found it stale at once one does it, because claims
/// are bound and a bind succeeds for one only; the others take the next number.
bool Naming::ReplaceStale(const Path& path, CORBA::Object_ptr object) {
  CosNaming::NamingContext_var root = Root();
  const CosNaming::Name claim = ClaimOf(path);
  try {
    root->bind(claim, object);
  } catch (const CosNaming::NamingContext::AlreadyBound&) {
    if (IsTaken(claim)) return false;
    root->rebind(claim, object);  // who claimed it died meanwhile
  }
  const bool replaced = !IsTaken(NameOf(path));
  if (replaced) root->rebind(NameOf(path), object);
  root->unbind(claim);
  return replaced;
}

/// Whether a live object is bound there.
bool Naming::IsTaken(const CosNaming::Name& name) {
  try {
    CosNaming::NamingContext_var root = Root();
    CORBA::Object_var object = root->resolve(name);
    // Our own objects are not asked: while they are held back, the answer would never come.
    return !CORBA::is_nil(object) && (IsOurs(object) || Answers(object));
  } catch (const CosNaming::NamingContext::NotFound&) {
    return false;
  }
}

bool Naming::IsOurs(CORBA::Object_ptr object) {
  Lumenar::Lock lock(mutex_);
  for (auto& [path, ours] : names_)
    if (ours->_is_equivalent(object)) return true;  // compares references, without a call
  return false;
}

void Naming::Remember(const Path& path, CORBA::Object_ptr object) {
  Lumenar::Lock lock(mutex_);
  if (ended_) return;
  names_[path] = CORBA::Object::_duplicate(object);
  keeper_.Start(kRestorePeriod);
}

void Naming::UnbindOurs(const Path& path, CORBA::Object_ptr object) const {
  CosNaming::NamingContext_var root = Root();
  CORBA::Object_var bound = root->resolve(NameOf(path));
  if (object->_is_equivalent(bound)) root->unbind(NameOf(path));
}

void Naming::UnbindAll() noexcept {
  try {
    EndKeeper();
    std::map<Path, CORBA::Object_var> names;
    {
      Lumenar::Lock lock(mutex_);
      names.swap(names_);
    }
    for (auto& [path, object] : names) {
      try {
        UnbindOurs(path, object);
      } catch (const CORBA::UserException&) {  // this name is gone already
      }
    }
  } catch (const CORBA::Exception&) {  // the service is away, and the other names with it
  } catch (const std::exception& exception) {
    Lumenar::WriteError(std::string("naming: the names were not unbound: ") + exception.what());
  }
}

std::vector<std::string> Naming::List(const Path& context) const {
  constexpr CORBA::ULong kAtOnce = 1000;
  constexpr int kMostParts = 100;  // a service that is not what it should be may go on for ever
  std::vector<std::string> names;
  const auto add = [&names](const CosNaming::BindingList& bindings) {
    for (CORBA::ULong i = 0; i < bindings.length(); ++i) {
      const CosNaming::Name& name = bindings[i].binding_name;
      if (name.length() == 1 && std::string_view(name[0].kind) != "claim") names.emplace_back(name[0].id);
    }
  };
  try {
    CosNaming::NamingContext_var at = Root();
    if (!context.empty()) {
      CORBA::Object_var object = at->resolve(NameOf(context));
      at = CosNaming::NamingContext::_narrow(object);
      if (CORBA::is_nil(at)) return {};
    }
    CosNaming::BindingList_var bindings;
    CosNaming::BindingIterator_var more;
    at->list(kAtOnce, bindings, more);
    add(bindings);
    int parts = 1;
    for (; parts < kMostParts && !CORBA::is_nil(more) && more->next_n(kAtOnce, bindings); ++parts) add(bindings);
    if (!CORBA::is_nil(more)) more->destroy();
    if (parts == kMostParts) throw CORBA::IMP_LIMIT(0, CORBA::COMPLETED_YES);
  } catch (const CosNaming::NamingContext::NotFound&) {
    return {};
  }
  return names;
}

/// The keeper's step: looks whether a restarted service has lost our names; the time until the next look, which is
/// shorter while the service is away.
std::chrono::milliseconds Naming::KeepNames() {
  try {
    RestoreLostNames();
    NoteBack();
  } catch (const CORBA::PERSIST_STORE& error) {  // it is there, and its disk is full
    NoteTrouble(kTakesNoNames, error);
  } catch (const CORBA::SystemException& error) {
    NoteTrouble(kIsAway, error);
    return kRestorePeriodWhileAway;
  } catch (const CORBA::Exception&) {  // a name changed hands meanwhile; it is tried again
  } catch (const std::exception& exception) {
    Lumenar::WriteError(std::string("naming: lost names were not put back: ") + exception.what());
  }
  return kRestorePeriod;
}

void Naming::RestoreLostNames() {
  std::map<Path, CORBA::Object_var> names;
  {
    Lumenar::Lock lock(mutex_);
    names = names_;
  }
  for (auto& [path, object] : names) {
    try {
      CORBA::Object_var bound = Resolve(path);
    } catch (const CosNaming::NamingContext::NotFound&) {
      Restore(path, object);
    }
  }
}

void Naming::Restore(const Path& path, CORBA::Object_ptr object) {
  try {
    WithContexts(path, [&](CosNaming::NamingContext_ptr root) { root->bind(NameOf(path), object); });
  } catch (const CosNaming::NamingContext::AlreadyBound&) {  // bound meanwhile
  }
}

void Naming::NoteTrouble(const char* trouble, const CORBA::SystemException& error) {
  if (std::exchange(trouble_, trouble) == trouble) return;
  Lumenar::WriteError("naming service at " + address_ + " " + trouble + ": " + Lumenar::CorbaText(error, address_),
                      Lumenar::Priority::Warning);
}

void Naming::NoteBack() {
  if (std::exchange(trouble_, nullptr) == nullptr) return;
  Lumenar::WriteError("naming service at " + address_ + " is back", Lumenar::Priority::Notice);
}

}  // namespace Corvanta
