// SPDX-License-Identifier: Apache-2.0
#include "platform/orb/ORB_wrapper.h"

#include <omniORB4/CORBA.h>
#include <omniORB4/internal/omniIdentity.h>

#include <map>

#include "platform/orb/CorbaText.h"
#include "platform/orb/ORB_base_impl.h"
#include "platform/orb/names.h"
#include "platform/signals/Signals.h"
#include "platform/signals/start_problem.h"

namespace Corvanta {
namespace {

/// Stands for an engine under its name until the engine's own object does. It has no operations of its own.
class Placeholder final : public PortableServer::ServantBase {
 public:
  const char* _mostDerivedRepoId() override { return CORBA::Object::_PD_repoId; }

 private:
  ~Placeholder() override = default;
};

Naming::Path Below(Naming::Path path, const std::string& component) {
  path.push_back(component);
  return path;
}

bool IsOfThisProcess(CORBA::Object_ptr object) {
  const omni_tracedmutex_lock lock(*omni::internalLock);
  return object->_PR_getobj()->_identity()->inThisAddressSpace();
}

/// Returns when the object answers a short question. One of this process is not asked: it is there, and a call to it
/// has no time limit while its adapter holds requests back, as it does before the ORB runs.
/// Errors   CORBA system exceptions: nobody answers in time, or the object is gone.
void RequireAnswer(CORBA::Object_ptr object) {
  if (IsOfThisProcess(object)) return;
  constexpr std::chrono::milliseconds kShort{250};
  constexpr std::chrono::milliseconds kLimitOfAllCalls{0};
  ORB_base::SetCallTimeout(object, kShort);
  if (object->_non_existent()) throw CORBA::OBJECT_NOT_EXIST(0, CORBA::COMPLETED_NO);
  ORB_base::SetCallTimeout(object, kLimitOfAllCalls);
}

/// The first that an engine asks of anybody: whoever starts it wants to know why there is no answer.
int FirstName(ORB_wrapper_base& orb, const Naming::Path& names, CORBA::Object_ptr reference) {
  try {
    return orb.BindInstance(names, reference);
  } catch (const CORBA::SystemException& error) {
    Lumenar::TellStartProblem(Lumenar::CallProblem(Lumenar::NamingService(orb.NamingAddress()), error));
    throw;
  }
}

}  // namespace

ORB_wrapper_base::~ORB_wrapper_base() = default;

void ORB_wrapper_base::WaitForNaming() { impl_->naming->WaitUntilItAnswers(Transport().naming_wait); }

void ORB_wrapper_base::LookupClient(std::vector<ClientInfo>& clients) {
  for (ClientInfo& client : clients) {
    const CORBA::Object_var found = Resolve(client.path);
    RequireAnswer(found);
    client.object = found;
  }
}

CORBA::Object_ptr ORB_wrapper_base::ResolveWithin(const std::vector<std::string>& path,
                                                  std::chrono::milliseconds limit) {
  return impl_->naming->ResolveWithin(path, limit);
}

CORBA::Object_ptr ORB_wrapper_base::Resolve(const std::vector<std::string>& path) {
  return impl_->naming->Resolve(path);
}

void ORB_wrapper_base::Bind(const std::vector<std::string>& path, CORBA::Object_ptr object) {
  impl_->naming->Bind(path, object);
}

int ORB_wrapper_base::BindInstance(const std::vector<std::string>& context, CORBA::Object_ptr object) {
  return impl_->naming->BindInstance(context, object);
}

std::vector<std::string> ORB_wrapper_base::List(const std::vector<std::string>& context) {
  return impl_->naming->List(context);
}

struct ORB_wrapper::WrapperImpl {
  Naming::Path context;  // in which all engines have their names
  Naming::Path path;     // of this engine
  std::string engine_name;
  PortableServer::Servant_var<Placeholder> placeholder;
  std::map<std::string, int> registered;
};

// The steps of an engine's start-up look for a signal first: the engine does not run yet, so nothing else would end it.

ORB_wrapper::ORB_wrapper(const char* name, const char* context)
    : ORB_wrapper_base(localargc, localargv), wrapper_(std::make_unique<WrapperImpl>()) {
  Lumenar::Signals::ThrowIfPending();
  WaitForNaming();
  wrapper_->context = Components(context);
  wrapper_->placeholder = new Placeholder;
  PortableServer::ObjectId_var id = Poa()->activate_object(wrapper_->placeholder.in());
  CORBA::Object_var reference = Poa()->id_to_reference(id);
  const Naming::Path names = Below(wrapper_->context, name);
  const std::string instance = std::to_string(FirstName(*this, names, reference));
  wrapper_->path = Below(names, instance);
  wrapper_->engine_name = std::string(name) + "/" + instance;
}

ORB_wrapper::~ORB_wrapper() = default;

const std::string& ORB_wrapper::EngineName() const { return wrapper_->engine_name; }

void ORB_wrapper::InstallChildObj(std::vector<ChildInfo>& children) {
  for (const ChildInfo& child : children) {
    Lumenar::Signals::ThrowIfPending();
    if (!child.name.empty()) {
      BindInstance(Below(wrapper_->context, child.name), child.object);
      continue;
    }
    Bind(wrapper_->path, child.object);
    DeactivateObject(wrapper_->placeholder.in());
  }
}

int ORB_wrapper::Register(const std::string& name, CORBA::Object_ptr object) {
  Lumenar::Signals::ThrowIfPending();
  const int number = BindInstance(Below(wrapper_->context, name), object);
  wrapper_->registered[name] = number;
  return number;
}

std::string ORB_wrapper::GetInstanceNum(std::string name) {
  const auto found = wrapper_->registered.find(name);
  return found == wrapper_->registered.end() ? std::string() : std::to_string(found->second);
}

}  // namespace Corvanta
