// SPDX-License-Identifier: Apache-2.0
#include "judge/verify/Search.h"

#include <algorithm>
#include <limits>
#include <map>
#include <set>
#include <utility>

#include "judge/same_bits.h"

namespace Lumenar::Judge {
namespace {

constexpr std::size_t kMostPending = 65536;  // results
constexpr std::size_t kTracesOfState = 3;    // that are a way's own, at most
constexpr std::size_t kFewestWays = 2;
constexpr std::size_t kFewestSteps = 64;
constexpr std::int64_t kNoMoreComes = std::numeric_limits<std::int64_t>::max();

/// So many results that came out and were not all the same show that it was no accident.
constexpr std::uint64_t kSure = 2;

/// A sum whose range nobody told may never be known: after so many results another way that is sure decides.
constexpr std::size_t kResultsUntilSumsAreKnown = 12;

bool IsSure(const Path& path) { return path.evidence >= kSure; }
bool ShowsNothing(const Path& path) { return !path.settled; }

/// A way that could not show anything yet goes where one that is sure has had the same samples, and its settings: it is
/// the same way, and knows less.
void DropThoseThatKnowLess(std::vector<Path>& ways) {
  std::map<std::vector<std::size_t>, std::size_t> settings_by_samples;  // of the sure ones, where they stand
  const auto samples = [](const Path& way) { return std::vector(way.next.begin(), way.next.end() - 1); };
  for (const Path& way : ways) {
    if (!IsSure(way)) continue;
    std::size_t& settings = settings_by_samples.try_emplace(samples(way), 0).first->second;
    settings = std::max(settings, way.next.back());
  }
  if (settings_by_samples.empty()) return;
  std::erase_if(ways, [&](const Path& way) {
    const auto sure = settings_by_samples.find(samples(way));
    return ShowsNothing(way) && sure != settings_by_samples.end() && sure->second >= way.next.back();
  });
}

}  // namespace

Search::Search(const ObjectFacts& facts, const SearchLimits& limits,
               std::vector<std::unique_ptr<Operation>> possibilities, std::int64_t begin_ns, bool knows_inputs)
    : facts_(facts), knows_inputs_(knows_inputs), limits_(limits), streams_(facts.inputs.size() + 1) {
  beginning_.time_ns = last_ns_ = begin_ns;
  beginning_.sample_numbers.resize(facts.inputs.size());
  beginning_.first_result = std::numeric_limits<std::uint64_t>::max();
  for (auto& possibility : possibilities) paths_.emplace_back(std::move(possibility), streams_.size());
}

void Search::AddSample(std::size_t input, Arrival sample) {
  const std::uint64_t place = sample.place;
  last_ns_ = std::max(last_ns_, sample.time_ns);
  LimitWaysTo(BytesOf(sample));
  if (streams_.at(input).Count() == 0) beginning_.sample_numbers[input] = sample.number;
  streams_[input].Add(std::move(sample));
  const auto is_silent = [](const Arrivals& stream) { return stream.Count() == 0; };
  if (!beginning_.inputs_began && std::none_of(streams_.begin(), streams_.end() - 1, is_silent)) {
    beginning_.inputs_began = place;
  }
}

/// For samples of this size.
void Search::LimitWaysTo(std::size_t bytes) {
  const std::size_t fitting = std::max(kFewestWays, limits_.state_bytes / (kTracesOfState * bytes));
  limits_.paths = std::min(limits_.paths, fitting);
  limits_.paths_of_sums = std::min(limits_.paths_of_sums, fitting);
  limits_.paths_lost = std::min(limits_.paths_lost, fitting);
  limits_.steps = std::min(limits_.steps, std::max(kFewestSteps, fitting));
}

void Search::AddChange(Arrival change) { streams_.back().Add(std::move(change)); }

void Search::AddResult(Arrival result) {
  if (results_.Count() == 0) {
    beginning_.first_result = result.place;
    beginning_.result_number = result.number;
  }
  last_ns_ = std::max(last_ns_, result.time_ns);
  results_.Add(std::move(result));
}

void Search::Advance(std::int64_t now_ns) {
  ExplainDue(now_ns);
  if (next_result_ < results_.Count()) return;
  const std::int64_t patience_ends_ns = now_ns - limits_.patience_ns;
  PassBefore(PendingBytes() > limits_.pending_bytes ? std::max(MiddleOfPending_ns(), patience_ends_ns)
                                                    : patience_ends_ns);
}

void Search::ExplainDue(std::int64_t now_ns) {
  for (const Arrival* due = results_.At(next_result_); due != nullptr && IsDue(*due, now_ns);
       due = results_.At(next_result_)) {
    Explain(*due);
    ++next_result_;
    DropWhatAllHad();
  }
}

Findings Search::End(std::int64_t end_ns) {
  end_ns_ = end_ns;
  ExplainDue(kNoMoreComes);
  return Found(end_ns);
}

/// What came shortly before the gap may belong to what is missing: up to the first result that is not explained as it
/// is, it counts.
Findings Search::EndAtGap(std::int64_t since_ns) {
  ExplainDue(since_ns - limits_.gap_ns + limits_.lead_ns);
  while (const Arrival* result = results_.At(next_result_)) {
    if (!ExplainAsItIs(*result)) break;
    ++next_result_;
  }
  Findings found = Found(std::min(since_ns, last_ns_));
  for (; next_result_ < results_.Count(); ++next_result_)
    found.CountUnchecked("shortly before samples that may be missing");
  return found;
}

Findings Search::Found(std::int64_t end_ns) {
  PassBefore(end_ns - limits_.tail_ns);
  guessed_ = paths_.front().operation->Guessed();
  return paths_.front().findings;
}

bool Search::IsDue(const Arrival& result, std::int64_t now_ns) const {
  return result.time_ns <= now_ns - limits_.lead_ns || PendingBytes() > limits_.pending_bytes ||
         results_.Count() - next_result_ > kMostPending;
}

void Search::Explain(const Arrival& result) {
  const bool is_telling = last_result_ == nullptr || !SameBits(*last_result_, *result.sample);
  last_result_ = result.sample;
  was_cut_ = false;
  std::vector<Path> ways = WaysTo(result, is_telling);
  if (!ways.empty()) {
    bounded_ += (Keep(std::move(ways), MostWays()) || was_cut_) ? 1 : 0;
    return;
  }
  Expansion expansion(facts_, limits_, streams_, beginning_, result, is_telling);
  for (const Path& path : paths_) expansion.From(path);  // for the result that is nearest
  if (MayLackItsSample(result, expansion)) return LeaveUnchecked();
  for (const Path& path : paths_) {
    for (Path& way : expansion.Unexplained(path)) ways.push_back(std::move(way));
  }
  bounded_ += was_cut_ ? 1 : 0;
  Keep(std::move(ways), limits_.paths_lost);
}

/// Whether the sample of a result may have come just behind the end of the recording: all samples have had their
/// results, or of several inputs one has no further sample, while the result is among the last arrivals.
bool Search::MayLackItsSample(const Arrival& result, const Expansion& expansion) const {
  if (!expansion.HasNearest()) return result.time_ns > end_ns_ - limits_.gap_ns;
  if (facts_.inputs.size() == 1 || result.time_ns <= end_ns_ - limits_.disorder_ns) return false;
  return std::any_of(paths_.begin(), paths_.end(), [this](const Path& path) {
    for (std::size_t input = 0; input < facts_.inputs.size(); ++input)
      if (streams_[input].At(path.next[input]) == nullptr) return true;
    return false;
  });
}

void Search::LeaveUnchecked() {
  for (Path& path : paths_) path.findings.CountUnchecked("at the end: its sample is not in the recording");
}

bool Search::ExplainAsItIs(const Arrival& result) {
  const bool is_telling = last_result_ == nullptr || !SameBits(*last_result_, *result.sample);
  Expansion expansion(facts_, limits_, streams_, beginning_, result, is_telling);
  for (const Path& path : paths_) expansion.From(path);
  if (expansion.Found().empty()) return false;
  last_result_ = result.sample;
  Keep(std::move(expansion.Found()), limits_.paths);
  return true;
}

/// The ways from here, with a note where not all were looked at.
std::vector<Path> Search::FoundBy(Expansion& expansion) {
  was_cut_ = was_cut_ || expansion.WasCut();
  return std::move(expansion.Found());
}

/// As it is; else with what the recording may lack.
std::vector<Path> Search::WaysTo(const Arrival& result, bool is_telling) {
  Expansion expansion(facts_, limits_, streams_, beginning_, result, is_telling);
  for (const Path& path : paths_) expansion.From(path);
  if (!expansion.Found().empty()) return FoundBy(expansion);

  expansion.DemandProof();
  const bool has_reset = facts_.type == Type::Average || facts_.type == Type::Peak;
  for (const Path& path : paths_) {
    if (limits_.assume_resets && has_reset) expansion.FromWithReset(path);
  }
  if (!expansion.Found().empty()) return FoundBy(expansion);

  std::vector<Path> skipping = paths_;
  for (std::size_t skipped = 0; skipped < limits_.missing && !skipping.empty(); ++skipped) {
    std::vector<Path> behind;
    for (const Path& path : skipping) {
      if (!path.settled) continue;
      for (Path& further : expansion.Skipping(path)) behind.push_back(std::move(further));
    }
    if (behind.size() > limits_.paths)
      behind.erase(behind.begin() + static_cast<std::ptrdiff_t>(limits_.paths), behind.end());
    skipping = std::move(behind);
    for (const Path& path : skipping) expansion.From(path);
    if (!expansion.Found().empty()) return FoundBy(expansion);
  }
  return FoundBy(expansion);
}

/// A sum whose range nobody told begins in many ways, of which few are left as soon as the numbers tell them apart.
std::size_t Search::MostWays() const {
  const bool is_open = facts_.type == Type::CumulativeAdd && next_result_ < 2 * kResultsUntilSumsAreKnown;
  return is_open ? limits_.paths_of_sums : limits_.paths;
}

/// Whether ways that could not show anything yet are wrong as soon as another one is sure. Those of one input, and of
/// two that came from a gap, show what they are worth when the samples that they lack have come: until then any of them
/// may be right. Where values of the inputs were recorded, an input may be silent for ever.
bool Search::TheSureDecide() const {
  if (facts_.inputs.size() == 1) return false;
  return knows_inputs_ || (facts_.type == Type::CumulativeAdd && next_result_ >= kResultsUntilSumsAreKnown);
}

/// Of ways that go on alike the best one is kept. Whether others that have explained something had to go.
bool Search::Keep(std::vector<Path> ways, std::size_t most) {
  if (!TheSureDecide()) {
    DropThoseThatKnowLess(ways);
  } else if (std::any_of(ways.begin(), ways.end(), IsSure)) {
    std::erase_if(ways, ShowsNothing);
  }
  std::stable_sort(ways.begin(), ways.end(), [](const Path& a, const Path& b) { return a.Rank() < b.Rank(); });
  paths_.clear();
  std::set<std::uint64_t> keys;
  for (Path& way : ways) {
    if (paths_.size() == most && !way.settled) continue;
    if (ways.size() > 1 && !keys.insert(way.Key()).second) continue;
    if (paths_.size() == most) return true;
    paths_.push_back(std::move(way));
  }
  return false;
}

/// Samples that came before this time and have had no result by now have none.
void Search::PassBefore(std::int64_t time_ns) {
  for (Path& path : paths_) Pass(path, time_ns);
  std::stable_sort(paths_.begin(), paths_.end(), [](const Path& a, const Path& b) { return a.Rank() < b.Rank(); });
  DropWhatAllHad();
}

void Search::Pass(Path& path, std::int64_t time_ns) const {
  while (true) {
    const Arrival* first = nullptr;
    std::size_t from = 0;
    for (std::size_t stream = 0; stream < streams_.size(); ++stream) {
      const Arrival* arrival = streams_[stream].At(path.next[stream]);
      if (arrival == nullptr || arrival->time_ns >= time_ns) continue;
      if (first != nullptr && first->place < arrival->place) continue;
      first = arrival;
      from = stream;
    }
    if (first == nullptr) return;
    Expansion::PassOver(path, facts_, from, *first);
  }
}

/// Half of the time that the samples cover: when they take too much memory, the older ones have to go.
std::int64_t Search::MiddleOfPending_ns() const {
  std::int64_t oldest_ns = last_ns_;
  for (const Arrivals& stream : streams_) {
    if (stream.Oldest() != nullptr) oldest_ns = std::min(oldest_ns, stream.Oldest()->time_ns);
  }
  return oldest_ns + (last_ns_ - oldest_ns) / 2;
}

void Search::DropWhatAllHad() {
  results_.DropBefore(next_result_);
  for (std::size_t stream = 0; stream < streams_.size(); ++stream) {
    std::size_t had = std::numeric_limits<std::size_t>::max();
    for (const Path& path : paths_) had = std::min(had, path.next[stream]);
    streams_[stream].DropBefore(had);
  }
}

std::size_t Search::PendingBytes() const {
  std::size_t bytes = results_.Bytes();
  for (const Arrivals& stream : streams_) bytes += stream.Bytes();
  return bytes;
}

}  // namespace Lumenar::Judge
