// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <string>

#include "client/OwnEngine.h"
#include "client/OwnReading.h"
#include "python/src/Part.h"
#include "python/src/Session.h"

namespace Lumenar::Python {

/// A reading that Python publishes.
/// Threads   any.
class PublicationPart : public Part {
 public:
  /// `name` is as "MYLAB/1/BASELINE", or "MYLAB/BASELINE" for any instance that is free. Blocks.
  /// Errors   those of Client::OwnEngine and OwnReading.
  static std::shared_ptr<PublicationPart> Open(Session& session, const std::string& name,
                                               Corvanta::SampleRecord&& first);

  const std::string& Name() const noexcept { return name_; }

  /// Publishes the next sample. Blocks. Errors   those of OwnReading::Publish; BadArgument once closed.
  void Publish(Corvanta::SampleRecord&& sample) const;

  bool IsClosed() const { return state_.Get() == nullptr; }

  /// Withdraws the reading, and its engine with the last one. Blocks.
  void Close() noexcept override { state_.Take(); }

 private:
  struct State {
    std::shared_ptr<Client::Connection> connection;
    std::shared_ptr<Client::OwnEngine> engine;
    std::unique_ptr<Client::OwnReading> reading;
  };

  explicit PublicationPart(std::shared_ptr<State> state) : name_(state->reading->Name()), state_(std::move(state)) {}

  const std::string name_;
  SharedState<State> state_;
};

}  // namespace Lumenar::Python
