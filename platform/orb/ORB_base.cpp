// SPDX-License-Identifier: Apache-2.0
#include "platform/orb/ORB_base.h"

#include <omniORB4/omniInterceptors.h>

#include <atomic>
#include <cstdlib>
#include <new>
#include <stdexcept>
#include <string_view>

#include "platform/base/Diagnostic.h"
#include "platform/orb/CorbaText.h"
#include "platform/orb/ORB_base_impl.h"
#include "platform/signals/Signals.h"
#include "platform/transport/RefusalLog.h"

namespace Corvanta {
namespace {

std::atomic<ORB_base*> current{nullptr};

/// By itself the ORB repeats a call, without end, when the answer is a certain TRANSIENT. What was called may have done
/// its work.
CORBA::Boolean RepeatNothing(void*, CORBA::ULong, const CORBA::TRANSIENT&) { return false; }

bool IsTraced() { return std::getenv("ORBtraceLevel") != nullptr; }

/// Takes the ORB's own messages. It writes only errors, the same one once a minute, unless its environment asks for more.
/// Nothing may leave it: the ORB writes in the midst of its work.
void WriteOrbMessage(const char* message) noexcept {
  try {
    std::string_view line = message;
    while (!line.empty() && line.back() == '\n') line.remove_suffix(1);
    if (IsTraced()) return Lumenar::WriteError(line);
    static auto* const log = new RefusalLog;  // the ORB may write until the process ends
    log->Say(std::string(line), std::string(line));
  } catch (const std::exception&) {  // no memory for the line
  }
}

/// The ORB of a process is one: a second ORB_init would return the first one's and ignore its options.
void RequireNoOrb() {
  try {
    omniORB::getInterceptors();
  } catch (const CORBA::INITIALIZE&) {
    return;  // as it should be: nobody has initialised one
  }
  throw std::logic_error("ORB_base: the ORB of this process is initialised already");
}

bool IsActive(PortableServer::ServantBase* servant) {
  omni_tracedmutex_lock lock(*omni::internalLock);
  return !servant->_activations().empty();
}

}  // namespace

void ORB_base::Impl::InitialiseOrb() {
  RequireNoOrb();
  omniORB::setLogFunction(WriteOrbMessage);
  omniORB::installTransientExceptionHandler(nullptr, &RepeatNothing);
  if (!IsTraced()) arguments.options.emplace(arguments.options.begin(), "traceLevel", "0");
  for (auto& [name, value] : arguments.options)
    if (name == "endPoint") value = GuardedTransport::Endpoint(value);
  const auto count = arguments.options.size();
  const auto options = std::make_unique<const char*[][2]>(count + 1);
  for (std::size_t i = 0; i < count; ++i) {
    options[i][0] = arguments.options[i].first.c_str();
    options[i][1] = arguments.options[i].second.c_str();
  }
  int no_arguments = 0;
  try {
    orb = CORBA::ORB_init(no_arguments, nullptr, "omniORB4", options.get());
    CORBA::Object_var object = orb->resolve_initial_references("RootPOA");  // begins to listen
    poa = PortableServer::POA::_narrow(object);
  } catch (const CORBA::INITIALIZE& error) {
    const std::string problem = arguments.Problem();
    if (!problem.empty()) throw TransportConfigError(problem);
    throw std::runtime_error("the ORB refuses its options: " + Lumenar::CorbaText(error));
  } catch (const omniORB::fatalException& failure) {
    throw std::runtime_error(std::string("the ORB refuses its options: ") + failure.errmsg());
  }
  manager = poa->the_POAManager();  // holds requests until it is activated
  naming = std::make_unique<Naming>(orb, arguments.NamingAddress());
  listeners.Add([this] { naming->UnbindAll(); });
}

void ORB_base::Impl::WaitUntilStopped() {
  Lumenar::Lock lock(mutex);
  while (!stopped) changed.Wait(mutex);
}

/// Returns when no request is in flight any more; in a request, at once.
void ORB_base::Impl::StopOrb() noexcept {
  connections.BeginEnd();
  for (const bool wait : {true, false}) {
    try {
      orb->shutdown(wait);
      return;
    } catch (
        const CORBA::BAD_INV_ORDER&) {  // it has ended already, or this is a request, which cannot wait for its own end
    } catch (const CORBA::Exception& exception) {
      Lumenar::WriteError("ORB_base: the ORB was not shut down: " + Lumenar::CorbaText(exception));
      return;
    }
  }
}

ORB_base::Impl::~Impl() {
  naming.reset();
  manager = PortableServer::POAManager::_nil();
  poa = PortableServer::POA::_nil();
  if (CORBA::is_nil(orb)) return;
  try {
    orb->destroy();
  } catch (const CORBA::Exception& exception) {
    Lumenar::WriteError("ORB_base: the ORB was not destroyed: " + Lumenar::CorbaText(exception));
  } catch (const omniORB::fatalException& failure) {  // a check of its own failed: the host lives on without it
    Lumenar::WriteError(std::string("ORB_base: the ORB was not destroyed: ") + failure.errmsg() + " at " +
                        failure.file() + ":" + std::to_string(failure.line()));
  }
}

ORB_base::ORB_base(int argc, const char* const* argv) : impl_(std::make_unique<Impl>(OrbArguments::Read(argc, argv))) {
  ORB_base* none = nullptr;
  if (!current.compare_exchange_strong(none, this))
    throw std::logic_error("ORB_base: there is one already in this process");
  try {
    impl_->InitialiseOrb();
  } catch (...) {
    impl_.reset();
    current = nullptr;
    throw;
  }
}

ORB_base::~ORB_base() {
  Settle();
  Shutdown();
  impl_->WaitUntilStopped();
  impl_->StopOrb();  // again, when a request shut it down: requests in flight use this object
  impl_.reset();
  current = nullptr;
}

ORB_base& ORB_base::Current() {
  ORB_base* orb = current;
  if (orb == nullptr) throw CORBA::BAD_INV_ORDER(0, CORBA::COMPLETED_NO);
  return *orb;
}

bool ORB_base::HasCurrent() noexcept { return current != nullptr; }

CORBA::ORB_ptr ORB_base::Orb() const { return impl_->orb; }

PortableServer::POA_ptr ORB_base::Poa() const { return impl_->poa; }

const TransportConfig& ORB_base::Transport() const { return impl_->arguments.transport; }

const SettingsFile& ORB_base::Settings() const { return impl_->arguments.settings; }

std::string ORB_base::NamingAddress() const { return impl_->arguments.NamingAddress(); }

void ORB_base::Activate() {
  impl_->manager->activate();
  if (!impl_->handles_signals.exchange(true)) Lumenar::Signals::SetHandler([this] { Shutdown(); });
}

void ORB_base::Run() {
  Lumenar::Signals::ThrowIfPending();
  try {
    Activate();
    impl_->supervision.Begin(impl_->poa);
    impl_->orb->run();
  } catch (const CORBA::BAD_INV_ORDER&) {
    if (!impl_->listeners.Began()) throw;  // else somebody shut the ORB down before it ran
  }
  impl_->WaitUntilStopped();
  Lumenar::Signals::ThrowIfPending();
}

void ORB_base::Shutdown() noexcept {
  impl_->supervision.End();
  if (!impl_->listeners.Run()) return;
  impl_->StopOrb();
  Lumenar::Lock lock(impl_->mutex);
  impl_->stopped = true;
  impl_->changed.NotifyAll();
}

void ORB_base::Settle() noexcept {
  if (impl_->handles_signals) Lumenar::Signals::SetHandler({});  // waits for a handler that runs
  WaitForShutdown();
}

void ORB_base::WaitForShutdown() noexcept {
  if (!impl_->listeners.Began()) return;
  impl_->WaitUntilStopped();
  impl_->StopOrb();
}

long ORB_base::AddShutdownListener(std::function<void()> listener) { return impl_->listeners.Add(std::move(listener)); }

void ORB_base::RemoveShutdownListener(long token) { impl_->listeners.Remove(token); }

void ORB_base::DeactivateObject(PortableServer::ServantBase* servant) noexcept {
  try {
    // Asking the POA for the identity of an inactive servant would activate it.
    if (servant == nullptr || !HasCurrent() || !IsActive(servant)) return;
    PortableServer::POA_var poa = servant->_default_POA();
    PortableServer::ObjectId_var id = poa->servant_to_id(servant);
    poa->deactivate_object(id);
  } catch (const CORBA::Exception&) {  // deactivated meanwhile, or the ORB is going
  } catch (const std::bad_alloc&) {    // it stays with the POA, closed, until the ORB goes
  }
}

void ORB_base::SetCallTimeout(CORBA::Object_ptr object, std::chrono::milliseconds limit) {
  omniORB::setClientCallTimeout(object, static_cast<CORBA::ULong>(limit.count()));
}

void ORB_base::SetCallTimeout(std::chrono::milliseconds limit) {
  omniORB::setClientCallTimeout(static_cast<CORBA::ULong>(limit.count()));
}

}  // namespace Corvanta
