// SPDX-License-Identifier: Apache-2.0
#include "instruments/sigrok/SampleCutter.h"

#include <fmt/format.h>

#include <limits>
#include <stdexcept>
#include <utility>

#include "instruments/sigrok/SampleDecoder.h"

namespace Lumenar::Sigrok {
namespace {

constexpr int kNotMeasured = SR_MQFLAG_HOLD | SR_MQFLAG_REFERENCE;

/// A number as a sample of a trace; beyond the range of float it is infinite.
float SampleFrom(double number) noexcept {
  constexpr double kLargest = std::numeric_limits<float>::max();
  if (number > kLargest) return std::numeric_limits<float>::infinity();
  if (number < -kLargest) return -std::numeric_limits<float>::infinity();
  return static_cast<float>(number);
}

const UnitRow& RequireUnitRow(int unit) {
  const UnitRow* row = FindUnitRow(unit);
  if (row == nullptr) throw std::invalid_argument(fmt::format("readings in unit {} are not known", unit));
  return *row;
}

}  // namespace

void SampleCutter::Take(const sr_datafeed_packet& packet) {
  switch (packet.type) {
    case SR_DF_ANALOG: return TakeAnalog(*static_cast<const sr_datafeed_analog*>(packet.payload));
    case SR_DF_META: return TakeMeta(*static_cast<const sr_datafeed_meta*>(packet.payload));
    case SR_DF_FRAME_BEGIN: return BeginFrame();
    case SR_DF_FRAME_END: return EndFrame();
    case SR_DF_END: in_frame_ = false; return series_.clear();
    default: break;  // logic channels, triggers
  }
}

void SampleCutter::SetSampleRate(double rate_Hz) noexcept {
  if (rate_Hz == rate_Hz_) return;
  rate_Hz_ = rate_Hz;
  for (auto& [meaning, series] : series_) series.samples.clear();
}

void SampleCutter::TakeMeta(const sr_datafeed_meta& meta) noexcept {
  for (const GSList* item = meta.config; item != nullptr; item = item->next) {
    const auto* config = static_cast<const sr_config*>(item->data);
    if (config->key == SR_CONF_SAMPLERATE && g_variant_is_of_type(config->data, G_VARIANT_TYPE_UINT64) != FALSE)
      SetSampleRate(static_cast<double>(g_variant_get_uint64(config->data)));
  }
}

void SampleCutter::BeginFrame() noexcept {
  for (auto& [meaning, series] : series_) {
    series.samples.clear();
    series.is_dropped = false;
  }
  in_frame_ = true;
}

void SampleCutter::TakeAnalog(const sr_datafeed_analog& analog) {
  const int flags = analog.meaning->mqflags;
  if ((flags & kNotMeasured) != 0) return;
  const UnitRow& units = RequireUnitRow(analog.meaning->unit);
  const SampleDecoder decoder(*analog.encoding);
  std::optional<double> count = LastDigit(*analog.encoding);
  if (count) *count *= units.factor;
  const std::size_t channels = g_slist_length(analog.meaning->channels);
  std::size_t place = 0;
  for (const GSList* item = analog.meaning->channels; item != nullptr; item = item->next, ++place) {
    const auto* channel = static_cast<const sr_channel*>(item->data);
    const Meaning meaning{channel->name, static_cast<int>(analog.meaning->mq), NamedFlags(flags)};
    Series& series = SeriesOf(meaning, units);
    for (std::size_t i = 0; i < analog.num_samples; ++i) {
      const double raw = decoder.At(analog.data, i * channels + place);
      Add(meaning, series, {raw * units.factor + units.offset, count});
    }
  }
}

SampleCutter::Series& SampleCutter::SeriesOf(const Meaning& meaning, const UnitRow& units) {
  if (!in_frame_) DropOthersOf(meaning);
  Series& series = series_[meaning];
  if (series.units != &units) {
    const bool amid = in_frame_ && !series.samples.empty();
    series = Series();
    series.units = &units;
    series.is_dropped = amid;
  }
  return series;
}

/// A channel of a stream measures one thing at a time: what it measured before has ended.
void SampleCutter::DropOthersOf(const Meaning& meaning) noexcept {
  for (auto& [other, series] : series_)
    if (other.channel == meaning.channel && other != meaning) series.samples.clear();
}

void SampleCutter::Add(const Meaning& meaning, Series& series, const MeasuredNumber& number) {
  series.last = number;
  if (series.is_dropped) return;
  if (series.samples.size() >= kMostPoints) {
    series.is_dropped = true;
    throw std::invalid_argument(fmt::format("a frame of more than {} samples is dropped", kMostPoints));
  }
  series.samples.push_back(SampleFrom(number.value));
  if (!in_frame_ && series.samples.size() >= Points()) HandOn(meaning, series);
}

void SampleCutter::EndFrame() {
  if (!std::exchange(in_frame_, false)) return;
  for (auto& [meaning, series] : series_) {
    const std::size_t points = series.samples.size();
    if (points == 0) continue;
    const std::size_t before = std::exchange(series.frame_points, points);
    if (points < before || std::exchange(series.is_dropped, false)) {
      series.samples.clear();
    } else {
      HandOn(meaning, series);
    }
  }
}

void SampleCutter::HandOn(const Meaning& meaning, Series& series) {
  std::vector<float> samples;
  samples.swap(series.samples);  // gone also when the sink throws
  if (samples.size() == 1) {
    sink_.TakeNumber(meaning, *series.units, series.last);
  } else {
    sink_.TakeTrace(meaning, *series.units, samples, rate_Hz_ > 0 ? 1 / rate_Hz_ : 0);
  }
  samples.clear();
  series.samples.swap(samples);  // with its memory
}

std::size_t SampleCutter::Points() const noexcept {
  if (told_points_) return *told_points_;
  return rate_Hz_ > 0 ? kUsualPoints : 1;
}

}  // namespace Lumenar::Sigrok
