// SPDX-License-Identifier: Apache-2.0
// Honest recordings with gaps: whatever was lost, and however the numbers run, nothing differs; and a result that was
// changed is found wherever the numbers of before have left.
#include <gtest/gtest.h>
#include <rapidcheck.h>
#include <rapidcheck/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <random>

#include "tests/support/RecordedObject.h"

namespace Lumenar::Judge {
namespace {

/// The same cases in every run, unless the caller asks for others.
const bool kSeedIsFixed = setenv("RC_PARAMS", "seed=20260101 max_success=150", 0) == 0;

constexpr int kFirstOnes = 4;  // results, and samples, that may belong to others from before
constexpr std::int64_t kDisorder_ns = 50 * kMillisecond;
constexpr std::int64_t kSoft_ns = 1000 * kMillisecond;  // before a gap

enum class Run { Constant, Rising, Random, Few };

/// A recording, as far as chance decides on it.
struct Plan {
  std::string type;
  bool traces = false;
  int size = 1;
  std::array<Run, 2> runs{};
  std::int64_t step_ns = kMillisecond;
  std::array<double, 4> lags{};  ///< in steps: of the inputs, the last one of the results
  int samples = 0;
  std::array<int, 2> gaps{};  ///< behind so many samples; 0: none
  int gap_steps = 1;
  unsigned seed = 0;
};

void showValue(const Plan& plan, std::ostream& out) {
  out << plan.type << (plan.traces ? " of traces" : "") << ", SIZE " << plan.size << ", runs "
      << static_cast<int>(plan.runs[0]) << " " << static_cast<int>(plan.runs[1]) << ", step "
      << plan.step_ns / kMillisecond << " ms, " << plan.samples << " samples, gaps " << plan.gaps[0] << " "
      << plan.gaps[1] << " of " << plan.gap_steps << ", seed " << plan.seed;
}

rc::Gen<Plan> AnyPlan() {
  using rc::gen::element;
  using rc::gen::inRange;
  return rc::gen::exec([] {
    Plan plan;
    plan.type = *element<std::string>("Average", "Average", "Subtract", "Subtract", "Peak", "CumulativeAdd");
    plan.traces = plan.type == "CumulativeAdd" || *inRange(0, 4) == 0;
    if (plan.type == "Average") plan.size = *element(1, 2, 3, 5, 8, 12, 40, 99);
    for (Run& run : plan.runs) run = *element(Run::Constant, Run::Rising, Run::Random, Run::Few);
    plan.step_ns = *element(1, 5, 20, 100) * kMillisecond;
    for (double& lag : plan.lags) lag = *inRange(0, 250) / 100.0;
    plan.samples = 2 * plan.size + *inRange(60, 140);
    plan.gaps[0] = *inRange(5, 20);
    if (*inRange(0, 2) == 0) plan.gaps[1] = plan.gaps[0] + *inRange(5, 20 + plan.size);
    plan.gap_steps = *inRange(1, 10);
    plan.seed = *inRange(0u, 1'000'000u);
    return plan;
  });
}

/// Something that comes to the recorder.
struct Coming {
  std::int64_t time_ns;
  std::size_t reading;
  Datum datum;
};

/// The instruments, the engine and the recorder of a plan.
class HonestRecording {
 public:
  explicit HonestRecording(const Plan& plan)
      : plan_(plan), random_(plan.seed), present_(PresentOf(plan)), object_(plan.type, present_) {
    Play();
    std::stable_sort(coming_.begin(), coming_.end(),
                     [](const Coming& a, const Coming& b) { return a.time_ns < b.time_ns; });
    Record();
  }

  ObjectReport Check(bool assume_resets) const {
    SearchLimits limits;
    limits.assume_resets = assume_resets;
    return object_.CheckObject(limits);
  }

  /// Changes the last bit of one result that no gap can explain; false where there is none.
  bool ChangeOne() {
    if (sure_.empty()) return false;
    const std::size_t chosen = sure_[random_() % sure_.size()];
    auto& record = std::get<Recording::Sample>(object_.Entries().at(chosen)).record;
    if (auto* trace = std::get_if<Trace_record>(&record)) {
      trace->samples[0] = std::nextafter(trace->samples[0], HUGE_VALF);
    } else {
      auto& value = std::get<Scalar_record>(record).val;
      value = std::nextafter(value, HUGE_VAL);
    }
    return true;
  }

 private:
  static std::vector<Datum> PresentOf(const Plan& plan) {
    if (plan.type == "CumulativeAdd") return {TraceOf({3, 1, 4, 1, 5, 9, 2, 6}, kWatts), LongOf(2), LongOf(5)};
    const Datum one = plan.traces ? TraceOf({-30, -20}, kdBm) : ScalarOf(1, kWatts);
    const Datum other = plan.traces ? TraceOf({-31, -19}, kdBm) : ScalarOf(2, kWatts);
    return plan.type == "Subtract" ? std::vector{one, other} : std::vector{one};
  }

  double NextOf(std::size_t input) {
    const int count = counts_[input]++;
    switch (plan_.runs[input]) {
      case Run::Constant: return 7;
      case Run::Rising: return 0.5 * (count % 70);
      case Run::Few: return random_() % 3;
      case Run::Random: break;
    }
    return std::uniform_real_distribution<double>(-60, 20)(random_);
  }

  Datum SampleOf(std::size_t input) {
    if (plan_.type == "CumulativeAdd" && input > 0) return LongOf(static_cast<int>(random_() % 6));
    const double number = NextOf(input);
    if (!plan_.traces) return ScalarOf(number, kWatts);
    const auto point = static_cast<float>(number);
    if (plan_.type != "CumulativeAdd") return TraceOf({point, point - 3}, kdBm);
    return TraceOf({point, 1, point, 2, point, point, 3, point}, kWatts);
  }

  /// Of two inputs one comes seldom.
  std::size_t NextInput() {
    if (present_.size() == 1) return 0;
    if (plan_.type == "CumulativeAdd") return random_() % 20 == 0 ? 1 + random_() % 2 : 0;
    return random_() % 4 == 0 ? 1 : 0;
  }

  void Come(std::size_t reading, std::int64_t engine_ns, const Datum& datum) {
    const double lag = reading == present_.size() ? plan_.lags[3] : plan_.lags[reading];
    const auto come_ns = engine_ns + static_cast<std::int64_t>(lag * static_cast<double>(plan_.step_ns));
    last_ns_[reading] = std::max(last_ns_[reading] + 1, come_ns);
    coming_.push_back({last_ns_[reading], reading, datum});
  }

  void Play() {
    const auto engine = Operation::Created(*TypeNamed(plan_.type), present_);
    engine->SetSize(plan_.size);
    std::int64_t now_ns = object_.LastTime_ns() + 1000 * kMillisecond;
    for (int i = 0; i < plan_.samples; ++i) {
      if (i == plan_.gaps[0] || i == plan_.gaps[1]) gap_ends_.push_back(now_ns + plan_.gap_steps * plan_.step_ns);
      now_ns += static_cast<std::int64_t>(std::uniform_real_distribution<double>(0.7, 1.3)(random_) *
                                          static_cast<double>(plan_.step_ns));
      const std::size_t input = NextInput();
      const Datum sample = SampleOf(input);
      Come(input, now_ns, sample);
      if (engine->Take(input, sample).kind == Outcome::Published) Come(present_.size(), now_ns, *engine->Result());
    }
  }

  void Record() {
    object_.RecordingBeginsWithSize(plan_.size);
    object_.RecordPresent(present_);
    const std::int64_t end_ns = coming_.back().time_ns;
    std::size_t gap = 0;
    BeginStretch(object_.LastTime_ns());
    for (const Coming& coming : coming_) {
      for (; gap < gap_ends_.size() && coming.time_ns > gap_ends_[gap]; ++gap) RecordGap(gap_ends_[gap]);
      if (gap < gap_ends_.size() && coming.time_ns >= gap_ends_[gap] - GapLength_ns()) continue;
      object_.step_ns = coming.time_ns - object_.LastTime_ns();
      object_.Record(coming.reading, coming.datum);
      NoteWhetherSure(coming,
                      gap < gap_ends_.size() ? gap_ends_[gap] - GapLength_ns() - kSoft_ns : end_ns - kDisorder_ns);
    }
  }

  std::int64_t GapLength_ns() const { return plan_.gap_steps * plan_.step_ns; }

  void RecordGap(std::int64_t end_ns) {
    object_.step_ns = end_ns - object_.LastTime_ns();
    object_.RecordEvent(Recording::EventKind::Gap, 0, end_ns - GapLength_ns());
    object_.step_ns = 0;
    if (plan_.type == "Average") object_.RecordEvent(Recording::EventKind::Size, plan_.size);
    BeginStretch(end_ns);
  }

  void BeginStretch(std::int64_t time_ns) {
    all_came_ns_ = time_ns;
    came_.fill(0);
    behind_ = 0;
  }

  /// Behind the first samples of each input, and then SIZE results, it is known what is in a result.
  void NoteWhetherSure(const Coming& coming, std::int64_t until_ns) {
    if (coming.reading < present_.size()) {
      if (++came_[coming.reading] == kFirstOnes) all_came_ns_ = coming.time_ns + kDisorder_ns;
      return;
    }
    const auto came = [this](std::size_t input) { return came_[input] >= kFirstOnes; };
    for (std::size_t input = 0; input < present_.size(); ++input)
      if (!came(input)) return;
    if (coming.time_ns <= all_came_ns_ || ++behind_ <= plan_.size + 2 * kFirstOnes) return;
    if (coming.time_ns < until_ns && plan_.type != "CumulativeAdd") sure_.push_back(object_.Entries().size() - 1);
  }

  const Plan plan_;
  std::mt19937 random_;
  const std::vector<Datum> present_;
  RecordedObject object_;
  std::array<int, 2> counts_{};
  std::array<std::int64_t, 4> last_ns_{};
  std::vector<Coming> coming_;
  std::vector<std::int64_t> gap_ends_;
  std::array<int, 3> came_{};
  std::int64_t all_came_ns_ = 0;
  int behind_ = 0;
  std::vector<std::size_t> sure_;  ///< entries
};

std::string TextOf(const ObjectReport& report) {
  std::string text;
  for (const Remark& remark : report.findings.Remarks())
    if (remark.kind == Remark::Unexplained || remark.kind == Remark::Missing)
      text += std::to_string(remark.number) + ": " + remark.text + "\n";
  return text;
}

RC_GTEST_PROP(RecordingGaps, OfAnHonestRecordingMakeNoDifference, ()) {
  const Plan plan = *AnyPlan();
  const ObjectReport report = HonestRecording(plan).Check(true);
  RC_LOG(TextOf(report));
  RC_ASSERT(!report.Differs());
  RC_ASSERT(report.findings.Checked() + report.findings.Unchecked() == report.results);
}

RC_GTEST_PROP(RecordingGaps, HideNoChangedResultBehindTheirShadow, ()) {
  const Plan plan = *AnyPlan();
  HonestRecording recording(plan);
  RC_PRE(recording.ChangeOne());
  RC_ASSERT(recording.Check(false).Differs());
}

}  // namespace
}  // namespace Lumenar::Judge
