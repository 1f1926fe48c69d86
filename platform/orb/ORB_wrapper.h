// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <memory>
#include <string>
#include <vector>

#include "platform/orb/ORB_base.h"

/// The argument list of the engine library that this code is linked into; every program on the platform defines the
/// two.
extern "C" {
extern int localargc;
extern char* localargv[];
}

namespace Corvanta {

/// An ORB with the naming service: contexts, bindings, look-ups.
class ORB_wrapper_base : public ORB_base {
 public:
  /// Of an engine: a child object to publish.
  struct ChildInfo {
    std::string name;
    CORBA::Object_var object;
  };

  /// A client object to look up: its path, one element a component, and the reference that LookupClient fills in.
  struct ClientInfo {
    std::vector<std::string> path;
    CORBA::Object_var object;
  };

  using ORB_base::ORB_base;
  ~ORB_wrapper_base() override;

  /// The first step of an engine or a service: waits for the naming service as long as orb.naming_wait_s says.
  /// Errors   Signal_Exception when a signal came meanwhile.
  void WaitForNaming();

  /// Resolves every path in the naming service, and asks each object whether it is there: a name whose object does not
  /// answer within 0.25 s counts as not found. That limit is not the one of later calls.
  /// Errors   CosNaming::NamingContext::NotFound; CORBA system exceptions (the naming service away, nobody behind the
  ///          name).
  void LookupClient(std::vector<ClientInfo>& clients);

  /// The same for one path. Nil is never returned.
  CORBA::Object_ptr Resolve(const std::vector<std::string>& path);

  /// The same within a limit of its own for the call to the naming service.
  CORBA::Object_ptr ResolveWithin(const std::vector<std::string>& path, std::chrono::milliseconds limit);

  /// Binds an object, creating the contexts on the way; a binding that is there already is replaced. Unbound at
  /// shutdown.
  void Bind(const std::vector<std::string>& path, CORBA::Object_ptr object);

  /// Binds under the smallest free number below `context` and returns that number. A number is free when nothing is
  /// bound to it or its object is gone. Unbound at shutdown.
  int BindInstance(const std::vector<std::string>& context, CORBA::Object_ptr object);

  /// The names below a context, without sub-names; empty when the context is not there.
  std::vector<std::string> List(const std::vector<std::string>& context);
};

/// The ORB connection of an engine, initialised from localargc and localargv.
class ORB_wrapper : public ORB_wrapper_base {
 public:
  /// `name` and `context` ("Lumenar/local") say under which name the engine is known. Takes the smallest free instance
  /// number of that name at once, so that two engines of one name never share topics.
  /// Errors   as ORB_base; the naming service's exceptions.
  ORB_wrapper(const char* name, const char* context);
  ~ORB_wrapper() override;

  /// The registered name: name and instance, as "MATHFACTORY/1".
  const std::string& EngineName() const;

  /// Publishes child objects: an empty name is the engine itself (Lumenar/local/NAME/INSTANCE), any other name is bound
  /// at Lumenar/local/CHILD/number, with the smallest free number.
  void InstallChildObj(std::vector<ChildInfo>& children);

  /// Publishes an object of this engine under a name of its own in the engine's context (the registration object:
  /// "GUI_ABLE") and returns its instance number.
  int Register(const std::string& name, CORBA::Object_ptr object);

  /// The instance number under which Register published `name`, in decimal; empty when it did not.
  std::string GetInstanceNum(std::string name);

 private:
  struct WrapperImpl;
  std::unique_ptr<WrapperImpl> wrapper_;
};

}  // namespace Corvanta
