// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <omniORB4/CORBA.h>

#include <atomic>

namespace Corvanta {

/// A servant that counts its references and knows whether its owner has given it up.
///
/// The memory goes with the last of owner, POA and requests in flight; derived classes have a protected destructor. The
/// POA may go on dispatching requests to a servant that it has been told to deactivate, so every operation begins with
/// RequireOpen. The count is an atomic of its own: the ORB's does the same inside its library, where the thread
/// sanitizer sees neither the count nor what it orders.
/// Threads   any.
class CountedServant : public virtual PortableServer::ServantBase {
 public:
  void _add_ref() override;
  void _remove_ref() override;
  CORBA::ULong _refcount_value() override;

  /// From here on operations raise OBJECT_NOT_EXIST; those in flight are not waited for.
  void Close() noexcept;

  /// Close, and takes the servant out of its POA. A second call does nothing.
  void Withdraw() noexcept;

  bool IsClosed() const noexcept { return state_.load(std::memory_order_acquire) != State::Open; }

  /// The first line of an operation. Errors   CORBA::OBJECT_NOT_EXIST when closed.
  void RequireOpen() const {
    if (IsClosed()) throw CORBA::OBJECT_NOT_EXIST(0, CORBA::COMPLETED_NO);
  }

 protected:
  CountedServant() = default;
  ~CountedServant() override = default;

 private:
  enum class State { Open, Closed, Withdrawn };

  std::atomic<CORBA::ULong> references_{1};
  std::atomic<State> state_{State::Open};
};

}  // namespace Corvanta
