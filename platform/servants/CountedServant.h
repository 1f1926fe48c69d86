// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <omniORB4/CORBA.h>

#include <atomic>

namespace Corvanta {

/// A servant that counts its references in an atomic of its own. The ORB's count does the same inside its library,
/// where the thread sanitizer sees neither the count nor what it orders.
///
/// The memory goes with the last of owner, POA and requests in flight; derived classes have a protected destructor.
class CountedServant : public virtual PortableServer::ServantBase {
 public:
  void _add_ref() override;
  void _remove_ref() override;
  CORBA::ULong _refcount_value() override;

 protected:
  CountedServant() = default;
  ~CountedServant() override = default;

 private:
  std::atomic<CORBA::ULong> references_{1};
};

}  // namespace Corvanta
