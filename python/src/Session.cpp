// SPDX-License-Identifier: Apache-2.0
#include "python/src/Session.h"

#include <algorithm>
#include <utility>

#include "client/MathName.h"
#include "client/MathObjects.h"
#include "client/MathState.h"
#include "client/Text.h"
#include "client/TopicNames.h"
#include "platform/orb/names.h"
#include "python/src/CallThreads.h"
#include "python/src/ProcessMark.h"

namespace Lumenar::Python {
namespace {

using Client::Connection;
using Client::MathObjects;

constexpr std::chrono::seconds kLongestEnd{5};  // of an engine

/// The sessions that are open.
class OpenSessions {
 public:
  static OpenSessions& Instance() {
    static OpenSessions* sessions = new OpenSessions;  // outlives every session
    return *sessions;
  }

  void Add(const std::shared_ptr<Session>& session) {
    const std::lock_guard lock(mutex_);
    std::erase_if(sessions_, [](const auto& other) { return other.expired(); });
    sessions_.push_back(session);
  }

  std::vector<std::shared_ptr<Session>> All() {
    const std::lock_guard lock(mutex_);
    std::vector<std::shared_ptr<Session>> all;
    for (const auto& weak : sessions_) {
      if (auto session = weak.lock()) all.push_back(std::move(session));
    }
    return all;
  }

 private:
  std::mutex mutex_;
  std::vector<std::weak_ptr<Session>> sessions_;
};

/// A Connection, which no child of a fork could use as long as it lives.
std::shared_ptr<Connection> ConnectionTo(const std::optional<std::string>& address, std::chrono::milliseconds timeout) {
  auto mark = std::make_unique<ProcessMark::InUse>();
  auto connection = address ? std::make_unique<Connection>(*address, timeout) : std::make_unique<Connection>(timeout);
  return {connection.release(),
          [mark = std::shared_ptr<ProcessMark::InUse>(std::move(mark))](Connection* ended) mutable {
            delete ended;
            mark.reset();
          }};
}

EngineInfo InfoOf(Connection& connection, const Client::Engine& engine) {
  EngineInfo info{Client::Printable(engine.name), engine.address, {}, {}};
  if (engine.problem) {
    info.problem = engine.problem->what();
    return info;
  }
  try {
    info.version = Client::Printable(connection.VersionOf(engine));
  } catch (const Client::Error& error) {
    info.problem = error.what();
  }
  return info;
}

}  // namespace

std::shared_ptr<Session> Session::Open(const std::optional<std::string>& address, std::chrono::milliseconds timeout) {
  ProcessMark::RequireOwn();
  const std::shared_ptr<Session> session(new Session);
  session->connection_ = ConnectionTo(address, timeout);
  OpenSessions::Instance().Add(session);
  return session;
}

Session::~Session() {
  if (ProcessMark::IsOrphan()) {
    new std::shared_ptr<Connection>(std::move(connection_));
  } else {
    Close();
  }
}

void Session::Close() noexcept {
  if (ProcessMark::IsOrphan()) return;
  std::shared_ptr<Connection> connection;
  std::vector<std::weak_ptr<Part>> parts;
  {
    const std::lock_guard lock(mutex_);
    connection.swap(connection_);
    parts.swap(parts_);
  }
  for (const auto& weak : parts) {
    if (const auto part = weak.lock()) part->Close();
  }
  WaitForEngines();
}

/// What the garbage collector found before ends on other threads: the names are free when they have.
void Session::WaitForEngines() noexcept {
  const std::lock_guard lock(naming_mutex_);
  for (const auto& [name, engine] : engines_) {
    if (engine.gone.valid()) engine.gone.wait_for(kLongestEnd);
  }
}

bool Session::IsClosed() const {
  const std::lock_guard lock(mutex_);
  return connection_ == nullptr;
}

bool Session::CloseAll(std::chrono::milliseconds limit) noexcept {
  if (ProcessMark::IsOrphan()) return true;
  try {
    for (const auto& session : OpenSessions::Instance().All()) CallThreads::Run([session] { session->Close(); });
    return CallThreads::WaitUntilIdle(limit) && ProcessMark::WaitUntilFree(limit);
  } catch (const std::exception&) {  // no thread for it
    return false;
  }
}

std::shared_ptr<Connection> Session::Use() const {
  ProcessMark::RequireOwn();
  const std::lock_guard lock(mutex_);
  if (!connection_) throw Client::Error(Client::ErrorKind::BadArgument, "the client is closed");
  return connection_;
}

void Session::Adopt(const std::shared_ptr<Part>& part) {
  {
    const std::lock_guard lock(mutex_);
    if (parts_.size() >= sweep_at_) {
      std::erase_if(parts_, [](const auto& other) { return other.expired(); });
      sweep_at_ = 2 * parts_.size() + 64;
    }
    if (connection_) {
      parts_.push_back(part);
      return;
    }
  }
  part->Close();  // the session was closed meanwhile
}

std::shared_ptr<ReadingPart> Session::PartOf(const std::shared_ptr<Connection>& connection, Client::Reading reading) {
  auto part = std::make_shared<ReadingPart>(connection, std::move(reading));
  Adopt(part);
  return part;
}

std::vector<EngineInfo> Session::Engines() const {
  const auto connection = Use();
  std::vector<EngineInfo> engines;
  for (const Client::Engine& engine : connection->Engines()) engines.push_back(InfoOf(*connection, engine));
  return engines;
}

std::vector<std::shared_ptr<ReadingPart>> Session::Readings() {
  const auto connection = Use();
  std::vector<std::shared_ptr<ReadingPart>> readings;
  for (Client::Reading& reading : connection->Readings()) readings.push_back(PartOf(connection, std::move(reading)));
  return readings;
}

std::shared_ptr<ReadingPart> Session::Find(const std::string& text) {
  const auto connection = Use();
  if (!Client::MathNameFromText(text, Corvanta::kFirstMathFactory))
    return PartOf(connection, connection->FindReading(text));
  return PartOf(connection, MathObjects(*connection).Find(text));
}

std::vector<std::string> Session::Types() const {
  const auto connection = Use();
  std::vector<std::string> types;
  for (const Client::MathType& type : MathObjects(*connection).Types()) types.push_back(Client::Printable(type.name));
  return types;
}

// The engine is looked up for each of these: one that was started again is found.

ObjectInfo Session::Create(const std::string& type, const std::vector<std::shared_ptr<ReadingPart>>& inputs) {
  const auto connection = Use();
  std::vector<Client::Reading> readings;
  std::vector<std::string> names;
  for (const auto& input : inputs) {
    readings.push_back(input->Use()->reading);
    names.push_back(input->Name());
  }
  MathObjects objects(*connection);
  const Client::MathObject created = objects.Create(objects.TypeFrom(type), readings);
  return {created.id, created.type, std::move(names), PartOf(connection, objects.ResultOf(created))};
}

ObjectInfo Session::Object(std::int32_t id) {
  const auto connection = Use();
  MathObjects objects(*connection);
  const Client::MathObject object = objects.Get(id);
  std::vector<std::string> inputs;
  Client::TopicNames names(*connection, Corvanta::kFirstMathFactory);
  for (const Client::InputReport& input : objects.Report(id).inputs) inputs.push_back(names.Of(input.topic));
  return {object.id, object.type, std::move(inputs), PartOf(connection, objects.ResultOf(object))};
}

std::vector<ObjectInfo> Session::Objects() {
  const auto connection = Use();
  std::vector<ObjectInfo> objects;
  Client::TopicNames names(*connection, Corvanta::kFirstMathFactory);
  for (Client::MathStatus& status : MathObjects(*connection).List()) {
    for (std::string& input : status.inputs) input = names.Of(input);
    objects.push_back(
        {status.id, std::move(status.type), std::move(status.inputs), PartOf(connection, std::move(status.result))});
  }
  return objects;
}

StateInfo Session::State(std::int32_t id) const {
  const auto connection = Use();
  const Client::MathReport report = MathObjects(*connection).Report(id);
  Client::TopicNames names(*connection, Corvanta::kFirstMathFactory);
  const auto name = [&](const std::string& topic) { return names.Of(topic); };
  return {Client::WordOf(Client::StateOf(report)), Client::StateInWords(report, name), report.refused, report.results};
}

std::int32_t Session::Size(std::int32_t id) const { return MathObjects(*Use()).Size(id); }
void Session::SetSize(std::int32_t id, std::int32_t size) const { MathObjects(*Use()).SetSize(id, size); }
void Session::Reset(std::int32_t id) const { MathObjects(*Use()).Reset(id); }
void Session::Delete(std::int32_t id) const { MathObjects(*Use()).Delete(id); }

std::shared_ptr<Client::OwnEngine> Session::EngineNamed(const std::string& name) {
  const auto connection = Use();
  const std::lock_guard lock(naming_mutex_);
  const OwnEngineEntry known = engines_[name];
  if (auto engine = known.engine.lock()) return engine;
  if (known.gone.valid()) known.gone.wait();  // bounded by the time limits of its calls
  const auto gone = std::make_shared<std::promise<void>>();
  const std::shared_ptr<Client::OwnEngine> engine(new Client::OwnEngine(*connection, name),
                                                  [gone](Client::OwnEngine* ended) {
                                                    delete ended;
                                                    gone->set_value();
                                                  });
  const OwnEngineEntry entry{engine, gone->get_future().share()};
  engines_[name] = entry;
  engines_[engine->Name()] = entry;
  return engine;
}

}  // namespace Lumenar::Python
