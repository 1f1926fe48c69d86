// SPDX-License-Identifier: Apache-2.0
#include "platform/orb/Supervision.h"

#include <exception>
#include <string>
#include <utility>

#include "platform/base/Diagnostic.h"
#include "platform/base/ServiceManager.h"
#include "platform/orb/CorbaText.h"

namespace Corvanta {
namespace {

/// Whom the process asks. It has no operations of its own.
class Answerer final : public PortableServer::ServantBase {
 public:
  const char* _mostDerivedRepoId() override { return CORBA::Object::_PD_repoId; }

 private:
  ~Answerer() override = default;
};

void SayUnwatched(const std::string& reason) {
  Lumenar::WriteError("watchdog: this process is not watched: " + reason);
}

}  // namespace

Supervision::~Supervision() {
  if (call_) call_->Interrupt();
  looks_.Stop();
}

void Supervision::Begin(PortableServer::POA_ptr poa) noexcept {
  try {
    if (const auto limit = Lumenar::WatchdogLimit()) Watch(poa, *limit);
  } catch (const CORBA::Exception& failure) {
    SayUnwatched(Lumenar::CorbaText(failure));
  } catch (const std::exception& failure) {
    SayUnwatched(failure.what());
  }
  Lumenar::Lock lock(mutex_);
  if (ended_) return;
  began_ = true;
  constexpr std::chrono::seconds kPatience{1};  // told once: a manager that missed it would end this process
  Lumenar::TellServiceManager("READY=1", kPatience);
}

void Supervision::Watch(PortableServer::POA_ptr poa, std::chrono::microseconds limit) {
  PortableServer::Servant_var<Answerer> answerer(new Answerer);
  const PortableServer::ObjectId_var id = poa->activate_object(answerer.in());
  const CORBA::Object_var object = poa->id_to_reference(id);
  pause_ = limit / 2;
  call_ = std::make_unique<SelfCall>(object);
  Lumenar::Lock lock(mutex_);
  interruptible_ = call_.get();
  if (!ended_) looks_.Start();
}

/// A look has half of a pause, so that one that failed is repeated in time.
Supervision::Clock::time_point Supervision::Look() {
  const auto begin = Clock::now();
  const auto patience = std::chrono::ceil<std::chrono::milliseconds>(pause_ / 2);
  const bool is_silent = call_->Ask(patience) == SelfCall::Result::Silent;
  if (!is_silent) Lumenar::TellServiceManager("WATCHDOG=1");
  NoteSilence(is_silent);
  return begin + (is_silent ? patience : std::chrono::duration_cast<std::chrono::milliseconds>(pause_));
}

void Supervision::NoteSilence(bool is_silent) {
  if (std::exchange(was_silent_, is_silent) == is_silent) return;
  Lumenar::WriteError(is_silent ? "watchdog: this process does not answer its own call"
                                : "watchdog: this process answers again");
}

// What hangs while it ends is the affair of Signals::EndWithin: the looks go on without asking.
void Supervision::End() noexcept {
  Lumenar::Lock lock(mutex_);
  if (std::exchange(ended_, true)) return;
  if (began_) Lumenar::TellServiceManager("STOPPING=1");
  if (interruptible_ != nullptr) interruptible_->Interrupt();
}

}  // namespace Corvanta
