// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <string>

#include "GuiAble.hh"
#include "platform/components/GUI_AbleRegistration.h"

namespace Lumenar {

/// The registration object of an engine, offered to clients as Corvanta::GUI_Able at Lumenar/local/GUI_ABLE/number.
/// Owns the counted servant that the ORB calls.
class GUI_Able_i : public GUI_AbleRegistration {
 public:
  /// Activates the servant and publishes it through the ORB wrapper of the process under "GUI_ABLE".
  /// Errors   std::logic_error without an ORB_wrapper; CORBA system exceptions.
  GUI_Able_i();

  /// That of an engine that has its names at another naming service than the ORB's: activates the servant; its owner
  /// publishes Reference() there. `topics` outlives this and the engine's items.
  /// Errors   CORBA system exceptions.
  GUI_Able_i(std::string engine, Corvanta::DdsBaseAccess& topics);

  ~GUI_Able_i() override;

  GUI_Able_i(const GUI_Able_i&) = delete;
  GUI_Able_i& operator=(const GUI_Able_i&) = delete;

  long Add(const Entry& entry) override;
  void Remove(long token) noexcept override;
  Corvanta::DdsBaseAccess& Topics() override;

  /// Not duplicated.
  Corvanta::GUI_Able_ptr Reference() const noexcept;

 private:
  struct Impl;
  const std::unique_ptr<Impl> impl_;
};

}  // namespace Lumenar
