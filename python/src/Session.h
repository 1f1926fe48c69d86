// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <future>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "client/Connection.h"
#include "client/OwnEngine.h"
#include "python/src/Part.h"
#include "python/src/ReadingPart.h"

namespace Lumenar::Python {

/// An engine as Python sees it.
struct EngineInfo {
  std::string name, address, version;
  std::string problem;  ///< empty when it answers
};

/// A math object as Python sees it.
struct ObjectInfo {
  std::int32_t id = 0;
  std::string type;
  std::vector<std::string> inputs;  ///< names for people
  std::shared_ptr<ReadingPart> result;
};

/// What a math object is doing.
struct StateInfo {
  std::string word, text;  ///< for programs and for people, see Client::MathState
  std::uint64_t refused = 0, results = 0;
};

/// An engine under whose name a session publishes. Where it is just ending, `gone` is waited for before another engine
/// takes its name.
struct OwnEngineEntry {
  std::weak_ptr<Client::OwnEngine> engine;
  std::shared_future<void> gone;
};

/// What Python holds of a client: its Connection, until Close, and all that rests on it.
///
/// Every function blocks for as long as its calls take. Errors   of all but Close: Client::Error, BadArgument also when
/// the session is closed.
/// Threads   any.
class Session : public std::enable_shared_from_this<Session> {
 public:
  /// Without an address the platform is that of the environment.
  static std::shared_ptr<Session> Open(const std::optional<std::string>& address, std::chrono::milliseconds timeout);
  ~Session();
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

  /// Ends all that rests on it, and its share of the ORB; names of engines are free again then. A second call does
  /// nothing.
  void Close() noexcept;
  bool IsClosed() const;

  /// Closes every session; false when that takes longer than `limit`, and goes on.
  static bool CloseAll(std::chrono::milliseconds limit) noexcept;

  /// A share of the Connection.
  std::shared_ptr<Client::Connection> Use() const;

  std::vector<EngineInfo> Engines() const;
  std::vector<std::shared_ptr<ReadingPart>> Readings();
  std::shared_ptr<ReadingPart> Find(const std::string& text);

  std::vector<std::string> Types() const;
  ObjectInfo Create(const std::string& type, const std::vector<std::shared_ptr<ReadingPart>>& inputs);
  ObjectInfo Object(std::int32_t id);
  std::vector<ObjectInfo> Objects();
  StateInfo State(std::int32_t id) const;
  std::int32_t Size(std::int32_t id) const;
  void SetSize(std::int32_t id, std::int32_t size) const;
  void Reset(std::int32_t id) const;
  void Delete(std::int32_t id) const;

  /// The engine under whose name this session publishes: the one that it is already, else a new one. `name` is as
  /// "MYLAB/1" or "MYLAB".
  std::shared_ptr<Client::OwnEngine> EngineNamed(const std::string& name);

  /// Lets the part end with the session.
  void Adopt(const std::shared_ptr<Part>& part);

 private:
  Session() = default;
  void WaitForEngines() noexcept;
  std::shared_ptr<ReadingPart> PartOf(const std::shared_ptr<Client::Connection>& connection, Client::Reading reading);

  mutable std::mutex mutex_;
  std::shared_ptr<Client::Connection> connection_;  // null once closed
  std::vector<std::weak_ptr<Part>> parts_;
  std::size_t sweep_at_ = 64;                      // parts at which those that have gone are taken out
  std::mutex naming_mutex_;                        // held while an engine takes its name, so that two threads make one
  std::map<std::string, OwnEngineEntry> engines_;  // by what was asked for and by registered name
};

}  // namespace Lumenar::Python
