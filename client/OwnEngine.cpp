// SPDX-License-Identifier: Apache-2.0
#include "client/OwnEngine.h"

#include <fmt/format.h>

#include <charconv>
#include <chrono>
#include <string_view>

#include "client/Text.h"
#include "platform/orb/GivingBack.h"
#include "platform/orb/names.h"

namespace Lumenar::Client {
namespace {

constexpr int kMostInstances = 9999;
constexpr std::chrono::milliseconds kWaitForItem{1000};

[[noreturn]] void ThrowName(const std::string& name, const char* problem) {
  throw Error(ErrorKind::BadArgument, fmt::format("\"{}\" is no name of an engine: {}", Printable(name), problem));
}

bool IsInstance(std::string_view text) {
  int number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  return error == std::errc() && end == text.data() + text.size() && number >= 1 && number <= kMostInstances &&
         text.front() != '0';
}

void CheckEngineName(const std::string& name) {
  const Corvanta::NamePath parts = Corvanta::Components(name);
  if (parts.empty() || parts.size() > 2 || parts.front().empty()) ThrowName(name, "it is as MYLAB or MYLAB/1");
  if (parts.size() == 2 && !IsInstance(parts.back()))
    ThrowName(name, "behind the slash stands a number from 1 to 9999");
  if (Printable(name) != name) ThrowName(name, "it has characters that cannot be printed, or a backslash");
  for (const std::string_view service : {Corvanta::kTopicManager, Corvanta::kHardwareEnumeration}) {
    if (parts.front() == Corvanta::NameWithoutInstance(service)) ThrowName(name, "it belongs to a service");
  }
  if (parts.front() == Corvanta::kRegistrationName || parts.front() == Corvanta::kMathEngineName)
    ThrowName(name, "it belongs to the platform");
}

}  // namespace

OwnEngine::OwnEngine(Connection& connection, const std::string& name)
    : orb_(connection.Orb()), naming_(Corvanta::Naming::At(orb_.Orb(), connection.NamingAddress())) {
  CheckEngineName(name);
  orb_.Activate();
  Remote("naming service at " + connection.NamingAddress(), [&] {
    if (name.find('/') == std::string::npos) return TakeAnyInstance(connection, name);
    if (!TakeName(connection, name)) throw Error(ErrorKind::Refused, name + ": another engine has this name");
  });
  shutdown_token_ = orb_.AddShutdownListener([naming = naming_] { naming->UnbindAll(); });
}

OwnEngine::~OwnEngine() {
  const Corvanta::GivingBack giving_back(orb_);
  if (shutdown_token_ != 0) orb_.RemoveShutdownListener(shutdown_token_);
  naming_->UnbindAll();
  registration_.reset();
}

void OwnEngine::TakeItem(const std::string& item) {
  const auto deadline = std::chrono::steady_clock::now() + kWaitForItem;
  Lock lock(mutex_);
  while (items_.count(item) > 0) {
    const auto left = deadline - std::chrono::steady_clock::now();
    if (left.count() <= 0 || !freed_.WaitFor(mutex_, left))
      throw Error(ErrorKind::Refused, fmt::format("{}/{}: is published already", name_, item));
  }
  items_.insert(item);
}

void OwnEngine::FreeItem(const std::string& item) noexcept {
  Lock lock(mutex_);
  items_.erase(item);
  freed_.NotifyAll();
}

/// The engine's own object is its registration object. It knows its name before others know it by that name.
bool OwnEngine::TakeName(Connection& connection, const std::string& name) {
  registration_ = std::make_unique<GUI_Able_i>(name, connection.Topics());
  if (!naming_->BindIfFree(Corvanta::LocalPath(name), registration_->Reference())) return false;
  naming_->BindInstance(Corvanta::LocalPath(Corvanta::kRegistrationName), registration_->Reference());
  name_ = name;
  return true;
}

void OwnEngine::TakeAnyInstance(Connection& connection, const std::string& stem) {
  for (int instance = 1; instance <= kMostInstances; ++instance) {
    if (TakeName(connection, fmt::format("{}/{}", stem, instance))) return;
  }
  throw Error(ErrorKind::Refused, stem + ": all instances of this name are taken");
}

}  // namespace Lumenar::Client
