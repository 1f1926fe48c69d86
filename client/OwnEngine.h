// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <set>
#include <string>

#include "client/Connection.h"
#include "platform/base/Mutex.h"
#include "platform/components/GUI_Able_i.h"
#include "platform/orb/Naming.h"

namespace Lumenar::Client {

/// Makes the client an engine, so that it can offer readings of its own (OwnReading): a registered name, and a
/// registration object that lists them. Both go with it. A client that is killed leaves its name behind, which nobody
/// answers to and which the next one of that name takes over.
/// Threads   any.
class OwnEngine {
 public:
  /// `name` is as "MYLAB/1", or as "MYLAB" for the smallest instance that is free.
  /// Errors   Error BadArgument for a name that is none or that of a service; Refused when another engine has it;
  ///          Unreachable when the naming service does not answer.
  OwnEngine(Connection& connection, const std::string& name);

  /// The readings have gone before. It unbinds the names; a naming service that is away is ignored.
  ~OwnEngine();

  OwnEngine(const OwnEngine&) = delete;
  OwnEngine& operator=(const OwnEngine&) = delete;

  /// The registered name, as "MYLAB/1".
  const std::string& Name() const noexcept { return name_; }

  /// Takes the name of an item for one reading; where another that goes just now has it, this waits for its end for a
  /// short time.
  /// Errors   Error Refused when another reading has it.
  void TakeItem(const std::string& item);
  void FreeItem(const std::string& item) noexcept;

  /// Where the readings are listed.
  GUI_AbleRegistration& Registration() noexcept { return *registration_; }

  /// The largest record that the platform's messages take.
  std::size_t MaxBytes() const { return orb_.Transport().max_message_bytes; }

  /// Held by who gives references back, see GivingBack.
  Corvanta::ORB_base& Orb() noexcept { return orb_; }

 private:
  bool TakeName(Connection& connection, const std::string& name);
  void TakeAnyInstance(Connection& connection, const std::string& stem);

  Corvanta::ORB_base& orb_;
  const std::shared_ptr<Corvanta::Naming> naming_;  ///< shared with the shutdown listener
  std::string name_;
  std::unique_ptr<GUI_Able_i> registration_;
  long shutdown_token_ = 0;

  Mutex mutex_;
  Condition freed_;
  std::set<std::string> items_ GUARDED_BY(mutex_);
};

}  // namespace Lumenar::Client
