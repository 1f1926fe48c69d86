// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <string>

#include "client/Connection.h"
#include "python/src/Part.h"
#include "python/src/Result.h"

namespace Lumenar::Python {

/// A reading or attribute that Python holds.
/// Threads   any.
class ReadingPart : public Part {
 public:
  struct State {
    std::shared_ptr<Client::Connection> connection;
    Client::Reading reading;
  };

  ReadingPart(std::shared_ptr<Client::Connection> connection, Client::Reading reading);

  const std::string& Name() const noexcept { return name_; }
  const std::string& EngineName() const noexcept { return engine_; }
  const std::string& Item() const noexcept { return item_; }
  const std::string& Kind() const noexcept { return kind_; }
  const std::string& Topic() const noexcept { return topic_; }
  bool IsSettable() const noexcept { return settable_; }

  /// The reading with its Connection.
  /// Errors   Client::Error BadArgument once closed.
  std::shared_ptr<State> Use() const;

  /// The present value. Blocks. Errors   those of Client::GetValue.
  std::shared_ptr<Result> Get() const;

  /// Blocks. Errors   those of Client::SetValue.
  void Set(const std::string& text) const;

  void Close() noexcept override;

 private:
  const std::string name_, engine_, item_, kind_, topic_;
  const bool settable_;
  SharedState<State> state_;
};

}  // namespace Lumenar::Python
