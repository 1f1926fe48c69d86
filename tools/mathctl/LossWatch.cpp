// SPDX-License-Identifier: Apache-2.0
#include "tools/mathctl/LossWatch.h"

#include <algorithm>
#include <utility>

#include "client/Error.h"

namespace Lumenar::Mathctl {
namespace {

using std::chrono::steady_clock;

constexpr std::chrono::seconds kBetweenLooks{1};
constexpr int kShareOfLooks = 50;  // a look may take so small a part of the time
constexpr const char* kOthersWereLater = "engines may have had their subscriptions back from the topic manager later";

}  // namespace

std::int64_t NowNs() {
  const auto now = std::chrono::system_clock::now().time_since_epoch();
  return std::chrono::duration_cast<std::chrono::nanoseconds>(now).count();
}

LossWatch::LossWatch(const Session& session, Client::Subscription& subscription)
    : session_(session),
      subscription_(subscription),
      good_ns_(NowNs()),
      next_look_(steady_clock::now() + kBetweenLooks) {
  LookAtAll();
}

std::vector<Loss> LossWatch::Look() {
  const auto begin = steady_clock::now();
  std::vector<Loss> losses;
  try {
    losses = LookAtAll();
  } catch (const Client::Error&) {  // it may be back at the next look, and will tell then
  }
  const auto end = steady_clock::now();
  next_look_ = end + std::max<steady_clock::duration>(kBetweenLooks, (end - begin) * kShareOfLooks);
  return losses;
}

std::vector<Loss> LossWatch::LastLook() {
  try {
    return LookAtAll();
  } catch (const Client::Error& error) {
    return {{std::nullopt, 0, error.what(), good_ns_}};
  }
}

// Renewals are taken on both sides of the questions, so that none falls between two looks.
std::vector<Loss> LossWatch::LookAtAll() {
  const std::int64_t begin_ns = NowNs();
  std::vector<Loss> losses;
  TakeRenewed(losses);
  const Corvanta::DDS_Manager_var manager = session_.connection.TopicManager();
  const std::uint64_t epoch = Client::Remote("topic manager", [&] { return manager->SubscriptionEpoch(); });
  const Corvanta::SubscriptionStatusSeq_var all =
      Client::Remote("topic manager", [&] { return manager->Subscriptions(); });
  const bool was_restarted = WasRestarted(epoch);
  if (was_restarted) losses.push_back({std::nullopt, 0, "the topic manager was started again", good_ns_});
  if (others_come_back_) losses.push_back({std::nullopt, 0, kOthersWereLater, good_ns_});
  const bool all_stand = TakeDropped(all.in(), losses);
  TakeRenewed(losses);
  if (all_stand && !was_restarted) good_ns_ = begin_ns;
  others_come_back_ = was_restarted;
  return losses;
}

void LossWatch::TakeRenewed(std::vector<Loss>& losses) {
  for (const std::size_t source : subscription_.TakeRenewed())
    losses.push_back({source, 0, "the topic manager had forgotten the subscription", good_ns_});
}

// The number goes up by one with each subscriber that the manager drops, and begins anywhere with each of its starts.
bool LossWatch::WasRestarted(std::uint64_t epoch) {
  constexpr std::uint64_t kManySubscribers = 1'000'000'000;
  const bool restarted = epoch_ && epoch - *epoch_ > kManySubscribers;
  epoch_ = epoch;
  if (restarted) dropped_.clear();  // it counts anew
  return restarted;
}

// Whether the manager has all subscriptions.
bool LossWatch::TakeDropped(const Corvanta::SubscriptionStatusSeq& all, std::vector<Loss>& losses) {
  const std::vector<std::int32_t> handles = subscription_.Handles();
  std::map<std::int32_t, std::size_t> sources;
  for (std::size_t i = 0; i < handles.size(); ++i) sources[handles[i]] = i;
  std::size_t found = 0;
  for (CORBA::ULong i = 0; i < all.length(); ++i) {
    const auto source = sources.find(all[i].handle);
    if (source == sources.end()) continue;
    ++found;
    Dropped& last = dropped_[source->second];
    if (last.handle != all[i].handle) last = {all[i].handle, 0};
    if (all[i].dropped > last.samples) losses.push_back({source->second, all[i].dropped - last.samples, "", good_ns_});
    last.samples = all[i].dropped;
  }
  return found == handles.size();
}

}  // namespace Lumenar::Mathctl
