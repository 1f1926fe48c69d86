// SPDX-License-Identifier: Apache-2.0
#include "instruments/replay/PlayedRecording.h"

#include <fmt/format.h>
#include <poll.h>

#include <algorithm>
#include <charconv>
#include <chrono>
#include <stdexcept>
#include <string_view>
#include <type_traits>
#include <utility>
#include <variant>

#include "instruments/replay/PlainEntries.h"
#include "instruments/replay/load_recording.h"
#include "platform/base/Diagnostic.h"
#include "platform/components/readings/EngineBasicTrace_i.h"
#include "platform/components/readings/EngineReadingBoolean_i.h"
#include "platform/components/readings/EngineReadingLong_i.h"
#include "platform/components/readings/EngineReadingValueDouble_i.h"
#include "platform/records/Records.h"

namespace Lumenar::Replay {

using Corvanta::SampleRecord;
using Corvanta::BASIC_TRACE::BT_DATA;
using Instruments::NumberSetting;
using Instruments::Place;
using Instruments::TextSetting;
using Lumenar::Recording::Entry;
using Lumenar::Recording::ReadingInfo;
using Lumenar::Recording::Sample;
using Scalar = Corvanta::VALUE_DOUBLE::VALUE;

namespace {

constexpr double kFastest = 1e6;
constexpr std::chrono::milliseconds kLongestSurvey{100};
constexpr int kLookForGo_ms = 100;  // who stops the task waits so long at most

std::chrono::nanoseconds Stretched(double time_ns, double speed) {
  constexpr double kLongest_ns = 1e18;  // thirty years
  return std::chrono::nanoseconds(static_cast<std::int64_t>(std::clamp(time_ns / speed, -kLongest_ns, kLongest_ns)));
}

template <class Record>
SampleRecord DefaultOf() {
  return SampleRecord(std::in_place_type<Record>, Record{});
}

SampleRecord DefaultOfKind(const std::string& kind) {
  if (kind == "BasicTrace") return DefaultOf<BT_DATA>();
  if (kind == "ValueDouble") return DefaultOf<Scalar>();
  if (kind == "boolean") return DefaultOf<bool>();
  return DefaultOf<CORBA::Long>();  // also of an enum
}

void SetLevelUnits(SampleRecord& record) {
  const auto set = [](Corvanta::VALUE_UNITS::Units& units) {
    units = VALUE::UnitsToCorba(LevelUnits(VALUE::UnitsFromCorba(units)));
  };
  if (auto* trace = std::get_if<BT_DATA>(&record)) set(trace->units);
  if (auto* scalar = std::get_if<Scalar>(&record)) set(scalar->units);
}

// Errors   std::invalid_argument.
std::map<std::uint32_t, std::string> ItemsFrom(std::string_view text) {
  std::map<std::uint32_t, std::string> items;
  while (!text.empty()) {
    const std::size_t end = std::min(text.find(';'), text.size());
    const std::string_view item = text.substr(0, end);
    const std::size_t equals = std::min(item.find('='), item.size());
    std::uint32_t index = 0;
    const auto [stop, error] = std::from_chars(item.data(), item.data() + equals, index);
    if (error != std::errc() || stop != item.data() + equals || equals + 1 >= item.size())
      throw std::invalid_argument(fmt::format("REPLAY_READINGS: \"{}\" is not as 0=WAKEUP", item));
    items[index] = item.substr(equals + 1);
    text.remove_prefix(std::min(end + 1, text.size()));
  }
  return items;
}

}  // namespace

/// What is known of a reading before it is played.
struct PlayedRecording::First {
  ReadingInfo info;
  std::optional<SampleRecord> record;
};

/// One reading, of whatever kind.
class PlayedRecording::Played {
 public:
  Played(const Place& place, const std::string& item, const SampleRecord& first) {
    std::visit([&](const auto& record) { Create(place, item, record); }, first);
  }

  /// A sample of another kind than the first is passed over.
  void Publish(SampleRecord&& sample) {
    std::visit([this](auto& record) { Assign(record); }, sample);
  }

 private:
  void Create(const Place&, const std::string&, std::monostate) {}
  void Create(const Place& place, const std::string& item, const BT_DATA& record) {
    trace_ = place.Create<Corvanta::EngineBasicTrace_i>(item, record);
  }
  void Create(const Place& place, const std::string& item, const Scalar& record) {
    scalar_ = place.Create<Corvanta::EngineReadingValueDouble_i>(item, record);
  }
  void Create(const Place& place, const std::string& item, CORBA::Long record) {
    long_ = place.Create<Corvanta::EngineReadingLong_i>(item, record);
  }
  void Create(const Place& place, const std::string& item, bool record) {
    boolean_ = place.Create<Corvanta::EngineReadingBoolean_i>(item, record);
  }

  void Assign(std::monostate) {}
  void Assign(BT_DATA& record) {
    if (trace_) *trace_ = std::move(record);
  }
  void Assign(const Scalar& record) {
    if (scalar_) *scalar_ = record;
  }
  void Assign(CORBA::Long record) {
    if (long_) *long_ = record;
  }
  void Assign(bool record) {
    if (boolean_) *boolean_ = record;
  }

  std::unique_ptr<Corvanta::EngineBasicTrace_i> trace_;
  std::unique_ptr<Corvanta::EngineReadingValueDouble_i> scalar_;
  std::unique_ptr<Corvanta::EngineReadingLong_i> long_;
  std::unique_ptr<Corvanta::EngineReadingBoolean_i> boolean_;
};

PlayOptions ParsePlayOptions(const Instruments::Settings& settings) {
  PlayOptions options;
  options.path = TextSetting(settings, "REPLAY_RECORDING");
  options.items = ItemsFrom(TextSetting(settings, "REPLAY_READINGS"));
  options.speed = NumberSetting(settings, "REPLAY_SPEED", 1, 0, kFastest);
  options.go_descriptor = static_cast<int>(NumberSetting(settings, "REPLAY_GO", -1, 0, 65535));
  options.level_units = TextSetting(settings, "REPLAY_LEVELS") == "unit";
  const std::string loop = TextSetting(settings, "REPLAY_LOOP");
  if (!loop.empty() && loop != "once" && loop != "loop")
    throw std::invalid_argument("REPLAY_LOOP=" + loop + ": expected once or loop");
  options.loop = loop == "loop";
  return options;
}

PlayedRecording::PlayedRecording(const PlayOptions& options) : options_(options) {
  Survey();
  ChooseItems();
}

PlayedRecording::~PlayedRecording() = default;

// Of a long file no more than its beginning: the first sample of each reading, if it comes soon.
void PlayedRecording::Survey() {
  const auto reader = OpenEntries(options_.path);
  const auto end = Clock::now() + kLongestSurvey;
  while (const auto entry = reader->Next()) {
    Note(*entry);
    if (begin_ns_ && (HasAllFirsts() || Clock::now() >= end)) return;
  }
}

// Without a choice all readings are played, and nobody knows how many will come.
bool PlayedRecording::HasAllFirsts() const {
  return !options_.items.empty() && std::all_of(options_.items.begin(), options_.items.end(), [this](const auto& item) {
    return item.first < firsts_.size() && firsts_[item.first].record;
  });
}

void PlayedRecording::Note(const Entry& entry) {
  if (const auto* reading = std::get_if<ReadingInfo>(&entry)) firsts_.push_back({*reading, std::nullopt});
  const auto* sample = std::get_if<Sample>(&entry);
  if (sample == nullptr) return;
  if (!firsts_[sample->reading].record) firsts_[sample->reading].record = sample->record;
  if (!sample->present && !begin_ns_) begin_ns_ = sample->time_ns;
}

void PlayedRecording::ChooseItems() {
  items_ = options_.items;
  for (const auto& [index, item] : items_) {
    if (index >= firsts_.size())
      throw std::invalid_argument(fmt::format("{}: has no reading {}", options_.path, index));
  }
  if (!items_.empty()) return;
  for (const First& first : firsts_) {
    const auto& object = first.info.object;
    items_[first.info.index] = object ? fmt::format("MATH_{}", object->id) : first.info.item;
  }
}

void PlayedRecording::Offer(const Place& place) {
  for (const auto& [index, item] : items_) {
    SampleRecord first = firsts_[index].record.value_or(DefaultOfKind(firsts_[index].info.kind));
    if (options_.level_units) SetLevelUnits(first);
    readings_[index] = std::make_unique<Played>(place, item, first);
    firsts_[index].record.reset();
    WriteOut(fmt::format("Lumenar::ReplayInit offers {} as {}/{}", index, place.namer.Prefix(), item));
  }
  RunPart(task_);
}

std::optional<PlayedRecording::Clock::time_point> PlayedRecording::Step() {
  try {
    return StepOnce();
  } catch (const std::exception& failure) {  // the file is damaged here, or was changed or taken away
    if (options_.go_descriptor < 0) WriteError(std::string("replay: samples end: ") + failure.what());
    WriteOut(fmt::format("Lumenar::ReplayInit played {} samples, then: {}", published_, failure.what()));
  }
  return std::nullopt;
}

// One sample at most, so that who stops the task waits for one publication at most.
std::optional<PlayedRecording::Clock::time_point> PlayedRecording::StepOnce() {
  if (!origin_ && !HasBegun()) return Clock::now();
  if (!next_ && !FetchNext() && !BeginAgain()) {
    WriteOut(fmt::format("Lumenar::ReplayInit played {} samples", published_));
    return std::nullopt;
  }
  const Clock::time_point due = DueOf(*next_);
  if (due > Clock::now()) return due;
  if (options_.level_units) SetLevelUnits(next_->record);
  readings_.at(next_->reading)->Publish(std::move(next_->record));
  next_.reset();
  ++published_;
  return Clock::now();
}

bool PlayedRecording::HasBegun() {
  pollfd go{options_.go_descriptor, POLLIN, 0};
  if (options_.go_descriptor >= 0 && ::poll(&go, 1, kLookForGo_ms) <= 0) return false;
  origin_ = Clock::now();
  reader_ = OpenEntries(options_.path);
  return true;
}

// The next sample of a reading that is played.
bool PlayedRecording::FetchNext() {
  while (auto entry = reader_->Next()) {
    auto* sample = std::get_if<Sample>(&*entry);
    if (sample == nullptr || sample->present) continue;
    if (!begin_ns_) begin_ns_ = sample->time_ns;
    if (!was_played_) NoteTime(*sample);
    if (!readings_.contains(sample->reading)) continue;
    next_ = std::move(*sample);
    return true;
  }
  if (!was_played_ && !reader_->CutOff().empty() && options_.go_descriptor < 0) WriteError(reader_->CutOff());
  was_played_ = true;
  return false;
}

void PlayedRecording::NoteTime(const Sample& sample) {
  end_ns_ = samples_ == 0 ? sample.time_ns : std::max(end_ns_, sample.time_ns);
  ++samples_;
}

PlayedRecording::Clock::time_point PlayedRecording::DueOf(const Sample& sample) const {
  if (options_.speed <= 0) return *origin_;
  return *origin_ + Stretched(static_cast<double>(sample.time_ns - *begin_ns_), options_.speed);
}

// Between the last sample and the first lies what lay between two on the average.
bool PlayedRecording::BeginAgain() {
  if (!options_.loop || published_ == 0) return false;
  const auto length = static_cast<double>(end_ns_ - *begin_ns_);
  const double again = length + length / static_cast<double>(std::max<std::uint64_t>(samples_, 2) - 1);
  if (options_.speed > 0) *origin_ += Stretched(again, options_.speed);
  reader_ = OpenEntries(options_.path);
  return FetchNext();
}

}  // namespace Lumenar::Replay
