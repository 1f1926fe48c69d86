// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>

#include "platform/orb/ORB_wrapper.h"

namespace Corvanta {

/// The ORB of an engine, as the engine owns it: none, or one that is up from construction to End.
/// Threads   that of the owner.
class EngineOrb {
 public:
  EngineOrb() = default;

  /// Errors   as ORB_wrapper.
  EngineOrb(const char* name, const char* context) : orb_(std::make_unique<ORB_wrapper>(name, context)) {}

  ORB_wrapper* Get() const noexcept { return orb_.get(); }
  ORB_wrapper* operator->() const noexcept { return orb_.get(); }

  /// The end of an engine, in the one order that is safe: no signal shuts the ORB down from here on, a shutdown that has
  /// begun comes to its end, `give_back` ends what holds references, and the ORB goes. Once.
  template <class GiveBack>
  void End(GiveBack give_back) noexcept {
    if (orb_) orb_->Settle();
    give_back();
    orb_.reset();
  }

 private:
  std::unique_ptr<ORB_wrapper> orb_;
};

}  // namespace Corvanta
