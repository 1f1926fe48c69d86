// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <omniORB4/CORBA.h>

namespace Corvanta {

/// A call that has come in and whose arguments have not been read yet.
struct IncomingCall {
  omniCallHandle& handle;
  omniServant* servant;  ///< that it is for
};

/// A servant that reads some of its calls by functions of ours in place of the generated code.
/// Skeleton is the generated class, or one of ours derived from it.
template <class Skeleton>
class GuardedServant : public Skeleton {
 public:
  using Skeleton::Skeleton;

  CORBA::Boolean _dispatch(omniCallHandle& handle) override {
    IncomingCall call{handle, this};
    return TakeCall(call) || Skeleton::_dispatch(handle);
  }

 protected:
  ~GuardedServant() override = default;

  /// Offered each call before the generated code. Returns false, having read nothing, for a call that it leaves to that
  /// code.
  virtual bool TakeCall(IncomingCall& call) = 0;
};

}  // namespace Corvanta
