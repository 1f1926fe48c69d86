// SPDX-License-Identifier: Apache-2.0
#include "judge/verify/Expansion.h"

#include <fmt/format.h>

#include <algorithm>
#include <utility>

#include "judge/same_bits.h"

namespace Lumenar::Judge {
namespace {

// The subscriptions of a recorder begin one after the other: so many first results may be those of samples from before,
// and so many first samples may have had their results before.
constexpr std::uint64_t kFirstOnes = 4;
constexpr std::int64_t kBeginning_ns = 500'000'000;

/// So many samples that came earlier, and all that came just before, may be passed by one of another input that has no
/// result, or of which nothing can be computed, and by a new setting. There would be no end of orders that make no difference otherwise.
constexpr std::size_t kMostPassed = 3;

/// So many samples in which nothing can be computed yet may have had no result.
constexpr std::uint64_t kMostWithoutResult = 8;

}  // namespace

Expansion::Expansion(const ObjectFacts& facts, const SearchLimits& limits, const std::vector<Arrivals>& streams,
                     const Beginning& beginning, const Arrival& result, bool is_telling)
    : facts_(facts),
      limits_(limits),
      streams_(streams),
      beginning_(beginning),
      result_(result),
      is_telling_(is_telling) {}

void Expansion::From(const Path& path) {
  waiting_.push_back(path);
  while (!waiting_.empty()) {
    if (++steps_ > limits_.steps) return CutShort();
    const Path now = std::move(waiting_.back());
    waiting_.pop_back();
    TakeFromBefore(now);
    for (std::size_t stream = 0; stream < streams_.size(); ++stream) Try(now, stream);
  }
}

void Expansion::CutShort() {
  was_cut_ = true;
  waiting_.clear();
}

void Expansion::FromWithReset(const Path& path) {
  if (!path.settled) return;
  Path with_reset = path;
  const Outcome outcome = with_reset.operation->Reset();
  with_reset.findings.Add(
      {Remark::Reset, result_.number, result_.time_ns, "explained by a RESET that is not in the recording"});
  if (outcome.kind == Outcome::Nothing) return From(with_reset);
  if (outcome.kind != Outcome::Published || !SameBits(*with_reset.operation->Result(), *result_.sample)) return;
  FindAt(std::move(with_reset));
}

std::vector<Path> Expansion::Skipping(const Path& path) const {
  std::vector<Path> behind;
  for (std::size_t stream = 0; stream < streams_.size(); ++stream) {
    const Arrival* arrival = InWindow(path, stream);
    if (arrival == nullptr) continue;
    Path computed = path;
    const Outcome outcome = Apply(computed, stream, *arrival);
    if (outcome.kind == Outcome::Published) {
      const Remark remark = MissingAt(facts_, stream, *arrival);
      Path never_came = path;
      ++never_came.next[stream];
      computed.findings.Add(remark);
      never_came.findings.Add(remark);
      behind.push_back(std::move(never_came));
    }
    behind.push_back(std::move(computed));
  }
  return behind;
}

std::vector<Path> Expansion::Unexplained(const Path& path) const {
  const std::string text = nearest_ ? fmt::format("{}: {}", nearest_from_, TextOf(*nearest_))
                                    : "no sample came that it could be the result of";
  Path here = path;
  here.findings.Add({Remark::Unexplained, result_.number, result_.time_ns, text});
  here.started = here.settled = true;
  std::vector<Path> ways;
  for (std::size_t stream = 0; stream < streams_.size(); ++stream) {
    const Arrival* arrival = InWindow(here, stream);
    if (arrival == nullptr) continue;
    Path computed = here;
    if (Apply(computed, stream, *arrival).kind == Outcome::Published) ways.push_back(computed);
    computed.operation->SetResult(*result_.sample);
    ways.push_back(std::move(computed));
  }
  ways.push_back(std::move(here));
  return ways;
}

void Expansion::PassOver(Path& path, const ObjectFacts& facts, std::size_t stream, const Arrival& arrival) {
  const Outcome outcome = Apply(path, stream, arrival);
  if (outcome.kind == Outcome::Nothing && arrival.what == Arrival::Sample) path.findings.CountRefused(outcome.reason);
  if (outcome.kind == Outcome::Published && path.started) path.findings.Add(MissingAt(facts, stream, arrival));
}

const Arrival* Expansion::InWindow(const Path& path, std::size_t stream) const {
  const Arrival* arrival = streams_[stream].At(path.next[stream]);
  if (arrival == nullptr || arrival->time_ns > result_.time_ns + limits_.lead_ns) return nullptr;
  return IsTooLateForSetting(path, stream, *arrival) ? nullptr : arrival;
}

/// A setting that the path has not had came so long before this sample that the object had it first.
bool Expansion::IsTooLateForSetting(const Path& path, std::size_t stream, const Arrival& arrival) const {
  if (stream == facts_.inputs.size() || path.ahead < kMostPassed) return false;
  const Arrival* setting = streams_.back().At(path.next.back());
  return setting != nullptr && setting->place < arrival.place &&
         setting->time_ns + setting->lasted_ns + limits_.disorder_ns < arrival.time_ns;
}

Outcome Expansion::Apply(Path& path, std::size_t stream, const Arrival& arrival) {
  ++path.next[stream];
  if (arrival.what == Arrival::Reset) return path.operation->Reset();
  if (arrival.what == Arrival::Sample) return path.operation->Take(stream, *arrival.sample);
  path.operation->SetSize(arrival.size);
  return {};
}

void Expansion::Try(const Path& path, std::size_t stream) {
  const Arrival* arrival = InWindow(path, stream);
  if (arrival == nullptr) return;
  Path behind = path;
  CountAhead(behind, stream, *arrival);
  const Outcome outcome = Apply(behind, stream, *arrival);
  if (outcome.kind == Outcome::Published) return Compare(std::move(behind), stream, *arrival);
  if (!IsNear(path, stream, *arrival)) return;
  if (outcome.kind == Outcome::Unknown) return TakeUnknown(std::move(behind), outcome.reason);
  if (arrival->what == Arrival::Sample) behind.findings.CountRefused(outcome.reason);
  Wait(std::move(behind));
}

void Expansion::CountAhead(Path& path, std::size_t stream, const Arrival& arrival) const {
  const Arrival* setting = streams_.back().At(path.next.back());
  const bool passes = stream < facts_.inputs.size() && setting != nullptr && setting->place < arrival.place;
  path.ahead = passes ? path.ahead + 1 : 0;
}

void Expansion::Compare(Path path, std::size_t stream, const Arrival& arrival) {
  if (SameBits(*path.operation->Result(), *result_.sample)) {
    NoteOrder(path, stream, arrival);
    return FindAt(std::move(path));
  }
  Consider(path, stream, arrival);
  if (MayPassAtStart(path, stream, arrival) && IsNear(path, stream, arrival)) Wait(std::move(path));
}

/// The path has given the result, bit for bit.
void Expansion::FindAt(Path path) {
  path.started = path.settled = true;
  if (is_telling_) ++path.evidence;
  path.findings.CountChecked();
  found_.push_back(std::move(path));
}

/// What nobody told may be found out from the result; else the result may be this sample's. Or the sample had none.
void Expansion::TakeUnknown(Path path, const std::string& reason) {
  if (demands_proof_) return;
  const std::size_t found_before = found_.size();
  for (auto& guess : path.operation->Guesses(*result_.sample, limits_.guesses)) {
    Path guessed = path;
    guessed.operation = OperationValue(std::move(guess));
    guessed.started = guessed.settled = true;
    guessed.findings.CountUnchecked("taken to find out " + reason);
    found_.push_back(std::move(guessed));
  }
  if (found_.size() == found_before) {
    Path taken = path;
    taken.operation->SetResult(*result_.sample);
    taken.started = true;
    taken.findings.CountUnchecked("not in the recording: " + reason);
    found_.push_back(std::move(taken));
  }
  if (path.settled || path.detours >= kMostWithoutResult) return;
  ++path.detours;
  Wait(std::move(path));
}

void Expansion::TakeFromBefore(const Path& path) {
  if (path.started || demands_proof_) return;
  const bool input_is_late = !beginning_.inputs_began || result_.place < *beginning_.inputs_began;
  const bool is_first =
      result_.number - beginning_.result_number < kFirstOnes && result_.time_ns - beginning_.time_ns <= kBeginning_ns;
  if (!is_first && (!input_is_late || LeavesMany(path))) return;
  Path from_before = path;
  from_before.operation->SetResult(*result_.sample);
  from_before.from_before = true;
  from_before.findings.CountUnchecked("of a sample from before the recording");
  ++from_before.detours;
  found_.push_back(std::move(from_before));
}

/// More samples of an input came before the result than may have theirs still to come.
bool Expansion::LeavesMany(const Path& path) const {
  for (std::size_t input = 0; input < facts_.inputs.size(); ++input) {
    const Arrival* last = streams_[input].At(path.next[input] + kFirstOnes);
    if (last != nullptr && last->place < result_.place) return true;
  }
  return false;
}

/// A way by which one has come already is not followed again.
void Expansion::Wait(Path path) {
  if (seen_.insert(path.Key()).second) waiting_.push_back(std::move(path));
}

void Expansion::NoteOrder(Path& path, std::size_t stream, const Arrival& arrival) const {
  for (std::size_t other = 0; other < facts_.inputs.size(); ++other) {
    const Arrival* earlier = other == stream ? nullptr : streams_[other].At(path.next[other]);
    if (earlier == nullptr || earlier->place >= arrival.place) continue;
    ++path.detours;
    path.findings.Add({Remark::Order, result_.number, result_.time_ns,
                       fmt::format("from sample {} of {}, before sample {} of {}, which came to the recorder earlier",
                                   arrival.number, NameOf(facts_, stream), earlier->number, NameOf(facts_, other))});
  }
}

void Expansion::Consider(const Path& path, std::size_t stream, const Arrival& arrival) {
  const Deviation deviation = DeviationOf(*path.operation->Result(), *result_.sample);
  if (nearest_ && nearest_->weight <= deviation.weight) return;
  nearest_ = deviation;
  nearest_from_ = arrival.what == Arrival::Reset
                      ? "nearest to what a RESET gives"
                      : fmt::format("nearest to what sample {} of {} gives", arrival.number, NameOf(facts_, stream));
}

bool Expansion::IsNear(const Path& path, std::size_t stream, const Arrival& arrival) const {
  for (std::size_t other = 0; other < facts_.inputs.size(); ++other) {
    const Arrival* far = other == stream ? nullptr : streams_[other].At(path.next[other] + kMostPassed);
    const bool passes = far != nullptr && far->place < arrival.place;
    if (passes && far->time_ns <= arrival.time_ns - limits_.disorder_ns) return false;
  }
  return true;
}

bool Expansion::MayPassAtStart(const Path& path, std::size_t stream, const Arrival& arrival) const {
  if (path.started) return false;
  const bool is_first =
      stream == facts_.inputs.size() || arrival.number - beginning_.sample_numbers[stream] < kFirstOnes;
  return arrival.place < beginning_.first_result || (!path.from_before && is_first);
}

std::string Expansion::NameOf(const ObjectFacts& facts, std::size_t stream) {
  return stream < facts.inputs.size() ? facts.inputs[stream] : "the settings";
}

Remark Expansion::MissingAt(const ObjectFacts& facts, std::size_t stream, const Arrival& arrival) {
  return {Remark::Missing, arrival.number, arrival.time_ns,
          fmt::format("the result of this sample of {} is not in the recording", NameOf(facts, stream))};
}

}  // namespace Lumenar::Judge
