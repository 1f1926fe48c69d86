// SPDX-License-Identifier: Apache-2.0
#include "platform/orb/Naming.h"

#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <map>
#include <string>

namespace Corvanta {
namespace {

using CosNaming::Name;

/// A naming service without contexts in this process. It can lose its names and keep the next lookup waiting.
class ForgetfulService : public POA_CosNaming::NamingContext {
 public:
  void bind(const Name& name, CORBA::Object_ptr object) override { rebind(name, object); }
  void rebind(const Name& name, CORBA::Object_ptr object) override {
    Lumenar::Lock lock(mutex_);
    names_[name[0].id.in()] = CORBA::Object::_duplicate(object);
  }
  CORBA::Object_ptr resolve(const Name& name) override {
    if (waits_.exchange(false)) {
      asked.set_value();
      go_on.get_future().wait();
    }
    Lumenar::Lock lock(mutex_);
    const auto found = names_.find(name[0].id.in());
    if (found == names_.end()) throw CosNaming::NamingContext::NotFound(CosNaming::NamingContext::missing_node, name);
    return CORBA::Object::_duplicate(found->second);
  }
  void unbind(const Name& name) override {
    Lumenar::Lock lock(mutex_);
    names_.erase(name[0].id.in());
  }

  void bind_context(const Name&, CosNaming::NamingContext_ptr) override {}
  void rebind_context(const Name&, CosNaming::NamingContext_ptr) override {}
  CosNaming::NamingContext_ptr new_context() override { return CosNaming::NamingContext::_nil(); }
  CosNaming::NamingContext_ptr bind_new_context(const Name&) override { return CosNaming::NamingContext::_nil(); }
  void destroy() override {}
  void list(CORBA::ULong, CosNaming::BindingList_out bindings, CosNaming::BindingIterator_out) override {
    bindings = new CosNaming::BindingList;
  }

  /// Loses all names; the next lookup says so in `asked` and waits for `go_on`.
  void Forget() {
    Lumenar::Lock lock(mutex_);
    names_.clear();
    waits_ = true;
  }
  std::size_t Size() {
    Lumenar::Lock lock(mutex_);
    return names_.size();
  }

  std::promise<void> asked, go_on;

 private:
  Lumenar::Mutex mutex_;
  std::map<std::string, CORBA::Object_var> names_ GUARDED_BY(mutex_);
  std::atomic<bool> waits_{false};
};

/// A listing that never ends.
class EndlessIterator : public POA_CosNaming::BindingIterator {
 public:
  CORBA::Boolean next_one(CosNaming::Binding_out binding) override {
    binding = new CosNaming::Binding;
    return true;
  }
  CORBA::Boolean next_n(CORBA::ULong, CosNaming::BindingList_out bindings) override {
    ++parts;
    bindings = new CosNaming::BindingList;
    bindings->length(1);
    (*bindings)[0].binding_name.length(1);
    (*bindings)[0].binding_name[0].id = "A";
    return true;
  }
  void destroy() override { ++ends; }

  std::atomic<int> parts{0}, ends{0};
};

class EndlessService : public ForgetfulService {
 public:
  void list(CORBA::ULong, CosNaming::BindingList_out bindings, CosNaming::BindingIterator_out more) override {
    bindings = new CosNaming::BindingList;
    more = iterator->_this();
  }

  const PortableServer::Servant_var<EndlessIterator> iterator{new EndlessIterator};
};

/// An ORB whose naming service is an object of this process.
template <class Service>
struct OrbWithNaming {
  OrbWithNaming() {
    CORBA::Object_var root_poa = orb->resolve_initial_references("RootPOA");
    PortableServer::POA_var poa = PortableServer::POA::_narrow(root_poa);
    const PortableServer::POAManager_var manager = poa->the_POAManager();
    manager->activate();
    reference = service->_this();
    orb->register_initial_reference("NameService", reference);
  }
  ~OrbWithNaming() { orb->destroy(); }
  OrbWithNaming(const OrbWithNaming&) = delete;
  OrbWithNaming& operator=(const OrbWithNaming&) = delete;

  int argc = 0;
  CORBA::ORB_var orb = CORBA::ORB_init(argc, nullptr);
  const PortableServer::Servant_var<Service> service{new Service};
  CosNaming::NamingContext_var reference;
};

TEST(Naming_, AListingWithoutAnEndIsGivenUp) {
  const OrbWithNaming<EndlessService> there;
  {
    Naming naming(there.orb, "here");
    EXPECT_THROW(naming.List({}), CORBA::IMP_LIMIT);
  }
  EXPECT_LT(there.service->iterator->parts, 1000);
  EXPECT_EQ(there.service->iterator->ends, 1) << "the service keeps nothing of it";
}

TEST(Naming_, ANameThatIsBeingPutBackWhileAllAreUnboundDoesNotStay) {
  const OrbWithNaming<ForgetfulService> there;
  {
    Naming naming(there.orb, "here");
    naming.Bind({"A"}, there.reference);
    EXPECT_EQ(there.service->Size(), 1u);
    there.service->Forget();
    there.service->asked.get_future().wait();
    auto unbinding = std::async(std::launch::async, [&] { naming.UnbindAll(); });
    EXPECT_EQ(unbinding.wait_for(std::chrono::milliseconds(50)), std::future_status::timeout) << "it waits";
    there.service->go_on.set_value();
  }
  EXPECT_EQ(there.service->Size(), 0u);
}

}  // namespace
}  // namespace Corvanta
