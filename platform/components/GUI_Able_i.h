// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>

#include "platform/components/GUI_AbleRegistration.h"

namespace Lumenar {

/// The registration object of an engine, offered to clients as Corvanta::GUI_Able at Lumenar/local/GUI_ABLE/number.
/// Owns the counted servant that the ORB calls.
class GUI_Able_i : public GUI_AbleRegistration {
 public:
  /// Activates the servant and publishes it through the ORB wrapper of the process under "GUI_ABLE".
  /// Errors   std::logic_error without an ORB_wrapper; CORBA system exceptions.
  GUI_Able_i();
  ~GUI_Able_i() override;

  GUI_Able_i(const GUI_Able_i&) = delete;
  GUI_Able_i& operator=(const GUI_Able_i&) = delete;

  long Add(const Entry& entry) override;
  void Remove(long token) noexcept override;

 private:
  struct Impl;
  const std::unique_ptr<Impl> impl_;
};

}  // namespace Lumenar
