// SPDX-License-Identifier: Apache-2.0
#include "services/topic_manager/Dispatcher.h"

#include <algorithm>
#include <system_error>

#include "platform/base/TraceMemory.h"

namespace Lumenar {
namespace {

constexpr std::chrono::seconds kLongWait{60};

SteadyTime Now() { return std::chrono::steady_clock::now(); }

/// A sample that several of a group wait for goes once.
std::vector<Subscriber::Shared> SharedSamples(const std::vector<DeliverySchedule::Delivery>& deliveries) {
  std::vector<Subscriber::Shared> samples;
  for (const DeliverySchedule::Delivery& delivery : deliveries) {
    const Corvanta::SampleRecord* const sample = delivery.sample.get();
    auto found =
        std::find_if(samples.begin(), samples.end(), [sample](const auto& shared) { return shared.sample == sample; });
    if (found == samples.end()) found = samples.insert(found, {sample, {}});
    found->handles.push_back(delivery.subscription->handle);
  }
  return samples;
}

Outcome Deliver(const std::vector<DeliverySchedule::Delivery>& deliveries, std::set<long>& not_taken) {
  const DeliverySchedule::Delivery& leader = deliveries.front();
  if (leader.sample == nullptr) return leader.subscription->subscriber->Look(leader.look_limit);
  if (!leader.grouped) return leader.subscription->subscriber->Deliver(*leader.sample);
  return leader.subscription->subscriber->DeliverGroup(SharedSamples(deliveries), not_taken);
}

/// What the outcome of a call means for one of its deliveries. That the subscriber who was called is gone says nothing
/// of the others.
Outcome OutcomeFor(const DeliverySchedule::Delivery& delivery, Outcome of_call, const std::set<long>& not_taken) {
  if (of_call == Outcome::Gone && !delivery.leads) return Outcome::NotTaken;
  return not_taken.count(delivery.subscription->handle) > 0 ? Outcome::NotTaken : of_call;
}

}  // namespace

Dispatcher::Dispatcher(Limits limits, OnDropped on_dropped)
    : limits_(limits), on_dropped_(std::move(on_dropped)), schedule_(limits.schedule) {
  supervisor_ = std::thread([this] { Supervise(); });
}

Dispatcher::~Dispatcher() {
  Stop(std::chrono::milliseconds(0));
  supervisor_.join();
  std::list<std::thread> threads;
  {
    Lock lock(mutex_);
    while (!workers_.empty()) worker_ended_.Wait(mutex_);
    threads.swap(ended_);
  }
  for (std::thread& thread : threads) thread.join();
}

void Dispatcher::Add(long handle, const std::string& topic, const std::string& address,
                     boost::shared_ptr<Subscriber> subscriber) {
  Wanted wanted;
  {
    Lock lock(mutex_);
    schedule_.Add(handle, topic, address, std::move(subscriber), Now());
    wanted = WhoIsWanted();
  }
  Wake(wanted);
}

bool Dispatcher::Remove(long handle, const std::string& topic) {
  std::vector<SamplePtr> freed;  // destroyed after the lock is released
  Lock lock(mutex_);
  const auto found = schedule_.Subscriptions().find(handle);
  if (found == schedule_.Subscriptions().end() || found->second->topic != topic) return false;
  return schedule_.Remove(handle, freed);
}

void Dispatcher::Publish(const std::string& topic, const SamplePtr& sample) {
  std::vector<SamplePtr> freed;  // destroyed after the lock is released
  Wanted wanted;
  {
    Lock lock(mutex_);
    if (stopping_) return;
    schedule_.Publish(topic, sample, freed);
    wanted = WhoIsWanted();
  }
  Wake(wanted);
}

/// Who has to see to it that somebody takes what is ready. A worker that takes a delivery wakes the next one in turn.
Dispatcher::Wanted Dispatcher::WhoIsWanted() {
  Wanted wanted;
  wanted.worker = schedule_.HasReady() && idle_ > 0;
  const SteadyTime next_look = NextLook();
  wanted.supervisor = next_look < next_look_;
  if (wanted.supervisor) next_look_ = next_look;
  return wanted;
}

/// Without the lock: who wakes would run into it at once, and sleep again.
void Dispatcher::Wake(Wanted wanted) {
  if (wanted.worker) work_.NotifyOne();
  if (wanted.supervisor) look_.NotifyOne();
}

std::vector<Dispatcher::Status> Dispatcher::Subscriptions() const {
  Lock lock(mutex_);
  std::vector<Status> all;
  for (const auto& [handle, subscription] : schedule_.Subscriptions()) {
    const Endpoint& endpoint = *subscription->endpoint;
    all.push_back({handle, subscription->topic, endpoint.Address(), subscription->stalled || endpoint.IsStalled(),
                   subscription->queue.Size(), subscription->delivered, subscription->dropped});
  }
  return all;
}

std::size_t Dispatcher::WorkerCount() const {
  Lock lock(mutex_);
  return workers_.size();
}

bool Dispatcher::Stop(std::chrono::milliseconds limit) {
  const SteadyTime end = Now() + limit;
  Lock lock(mutex_);
  stopping_ = true;
  work_.NotifyAll();
  look_.NotifyAll();
  while (!workers_.empty() && Now() < end) worker_ended_.WaitFor(mutex_, end - Now());
  return workers_.empty();
}

void Dispatcher::Work() {
  for (;;) {
    const std::vector<Delivery> deliveries = WaitForDeliveries();
    if (deliveries.empty()) return;
    Outcome outcome = deliveries.front().grouped ? Outcome::NotTaken : Outcome::Delivered;
    std::set<long> not_taken;
    try {
      outcome = Deliver(deliveries, not_taken);
    } catch (...) {  // the top of a thread: a subscriber's failure is its own; a group not put together was not sent
    }
    Finish(deliveries, outcome, not_taken);
  }
}

/// The next delivery, begun, and those that go along in its call; none when this worker has to end, which it has then
/// entered in the books.
std::vector<Dispatcher::Delivery> Dispatcher::WaitForDeliveries() {
  std::vector<Delivery> deliveries;
  Wanted wanted;
  {
    Lock lock(mutex_);
    while (!stopping_ && (deliveries = NextCall()).empty() && !TooManyWorkers()) {
      ++idle_;
      work_.WaitFor(mutex_, limits_.idle_limit);
      --idle_;
    }
    if (deliveries.empty()) {
      EndWorker();
    } else {
      wanted = WhoIsWanted();
    }
  }
  Wake(wanted);
  return deliveries;
}

/// A look goes first: samples may wait for it.
std::vector<Dispatcher::Delivery> Dispatcher::NextCall() {
  const SteadyTime now = Now();
  if (const std::optional<Delivery> look = schedule_.NextLook(now)) return {*look};
  return schedule_.NextGroup(now);
}

bool Dispatcher::TooManyWorkers() const {
  const SteadyTime now = Now();
  return workers_.size() > limits_.workers + schedule_.Stuck(now) && now - last_growth_ > limits_.idle_limit;
}

void Dispatcher::EndWorker() {
  const auto self = std::find_if(workers_.begin(), workers_.end(), [](const std::thread& worker) {
    return worker.get_id() == std::this_thread::get_id();
  });
  ended_.splice(ended_.end(), workers_, self);
  worker_ended_.NotifyAll();
}

void Dispatcher::Finish(const std::vector<Delivery>& deliveries, Outcome outcome, const std::set<long>& not_taken) {
  std::vector<std::pair<SubscriptionPtr, Outcome>> dropped;
  Wanted wanted;
  {
    std::vector<SamplePtr> freed;  // destroyed after the lock is released
    Lock lock(mutex_);
    for (auto delivery = deliveries.rbegin(); delivery != deliveries.rend(); ++delivery) {
      const Outcome its_outcome = OutcomeFor(*delivery, outcome, not_taken);
      for (SubscriptionPtr& lost : schedule_.Finish(*delivery, its_outcome, Now(), freed))
        dropped.emplace_back(std::move(lost), its_outcome);
    }
    if (!dropped.empty() && !give_back_at_) give_back_at_ = Now() + limits_.give_back_pause;
    wanted = WhoIsWanted();
    wanted.worker = wanted.worker && !dropped.empty();  // else this one takes what is ready itself
  }
  Wake(wanted);
  for (const auto& [subscription, its_outcome] : dropped) {
    on_dropped_(subscription->handle, subscription->topic, subscription->endpoint->Address(), its_outcome);
  }
}

/// The one thread that watches the clock: ends pauses, starts workers, joins those that ended, gives memory back.
void Dispatcher::Supervise() {
  while (SuperviseOnce()) {}
}

/// One look and the wait for the next; false when it was the last.
bool Dispatcher::SuperviseOnce() {
  std::list<std::thread> ended;
  bool give_back = false;
  {
    Lock lock(mutex_);
    if (stopping_) return false;
    schedule_.Advance(Now());
    AddWorkers();
    if (schedule_.HasReady() && idle_ > 0) work_.NotifyOne();
    next_look_ = NextLook();
    const SteadyTime now = Now();
    if (next_look_ > now) look_.WaitFor(mutex_, next_look_ - now);
    ended.swap(ended_);
    give_back = MustGiveBack();
  }
  for (std::thread& thread : ended) thread.join();
  if (give_back) GiveBackMemory();
  return true;
}

bool Dispatcher::MustGiveBack() {
  if (!give_back_at_ || Now() < *give_back_at_) return false;
  give_back_at_.reset();
  return true;
}

/// Keeps as many workers that are not stuck as there should be, while there is work for them.
void Dispatcher::AddWorkers() {
  if (!schedule_.HasReady() || idle_ > 0) return;
  const std::size_t wanted = std::min(limits_.workers + schedule_.Stuck(Now()), limits_.max_workers);
  try {
    while (workers_.size() < wanted) {
      workers_.emplace_back([this] { Work(); });
      last_growth_ = Now();
    }
  } catch (const std::system_error&) {  // no more threads now: a later look tries again
  }
}

/// When the supervisor has to look again at the latest.
SteadyTime Dispatcher::NextLook() const {
  const SteadyTime now = Now();
  SteadyTime next = now + kLongWait;
  if (schedule_.HasReady() && idle_ == 0) {
    const bool first_workers = workers_.size() < limits_.workers;
    next = first_workers && workers_.empty() ? now : now + limits_.schedule.patience;
  }
  if (const auto moment = schedule_.NextMoment()) next = std::min(next, *moment);
  if (give_back_at_) next = std::min(next, *give_back_at_);
  return next;
}

}  // namespace Lumenar
