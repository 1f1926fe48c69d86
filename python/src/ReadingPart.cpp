// SPDX-License-Identifier: Apache-2.0
#include "python/src/ReadingPart.h"

#include <utility>

#include "client/Text.h"
#include "client/values.h"

namespace Lumenar::Python {

ReadingPart::ReadingPart(std::shared_ptr<Client::Connection> connection, Client::Reading reading)
    : name_(Client::FullName(reading.name)),
      engine_(Client::Printable(reading.name.engine)),
      item_(Client::Printable(reading.name.item)),
      kind_(reading.type_name),
      topic_(Client::Printable(reading.topic)),
      settable_(reading.settable),
      state_(std::make_shared<State>(State{std::move(connection), std::move(reading)})) {}

std::shared_ptr<ReadingPart::State> ReadingPart::Use() const {
  ProcessMark::RequireOwn();
  auto state = state_.Get();
  if (!state) throw Client::Error(Client::ErrorKind::BadArgument, name_ + ": its client is closed");
  return state;
}

std::shared_ptr<Result> ReadingPart::Get() const {
  const auto state = Use();
  return std::make_shared<Result>(name_, std::chrono::system_clock::now(), Client::GetValue(state->reading));
}

void ReadingPart::Set(const std::string& text) const {
  const auto state = Use();
  Client::SetValue(state->reading, text);
}

void ReadingPart::Close() noexcept { state_.Take(); }

}  // namespace Lumenar::Python
