// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <libsigrok/libsigrok.h>

#include <cstddef>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "instruments/sigrok/measured_units.h"

namespace Lumenar::Sigrok {

/// A single number that was measured.
struct MeasuredNumber {
  double value = 0;             ///< infinite for an overload
  std::optional<double> count;  ///< one count of the last digit, where digits are decimal
};

/// Who takes what was measured; units are the row's.
class MeasurementSink {
 public:
  virtual ~MeasurementSink() = default;
  virtual void TakeNumber(const Meaning& meaning, const UnitRow& units, const MeasuredNumber& number) = 0;

  /// `step_s` is the distance of two samples; 0 where it is not known.
  virtual void TakeTrace(const Meaning& meaning, const UnitRow& units, std::span<const float> samples,
                         double step_s) = 0;
};

/// Makes numbers and traces of the packets of a device.
///
/// In a frame: the samples of a channel are a trace; a single one is a number, since a frame then brackets readings of
/// one instant. A frame with fewer samples than the last is dropped, as the last before an end is; where the next one
/// has as few, the device was set to that, and they count again.
///
/// In a stream: as many samples as `points` are a trace, and with 1 each sample is a number. A part is dropped when the
/// channel turns to another quantity or unit, and at the end.
///
/// What a device holds, or shows as its reference, is not measured: it is passed over.
/// Threads   one at a time.
class SampleCutter {
 public:
  static constexpr std::size_t kUsualPoints = 1000;
  static constexpr std::size_t kMostPoints = std::size_t{1} << 24;  ///< the longest trace that the platform carries

  /// `points` of a stream; nothing: kUsualPoints where the device has a sample rate, else 1.
  SampleCutter(MeasurementSink& sink, std::optional<std::size_t> points) : sink_(sink), told_points_(points) {}

  /// Samples a second; 0 where the device has no such rate. Packets may tell another. What has come at another rate and
  /// is not handed on yet is dropped.
  void SetSampleRate(double rate_Hz) noexcept;

  /// Errors   std::invalid_argument for numbers that cannot be read or have a unit that is not in the table, and for a
  ///          frame longer than kMostPoints, which is dropped; those of the sink.
  void Take(const sr_datafeed_packet& packet);

 private:
  /// What has come of one meaning and is not handed on yet.
  struct Series {
    const UnitRow* units = nullptr;
    std::vector<float> samples;
    MeasuredNumber last;
    std::size_t frame_points = 0;  // of the last frame
    bool is_dropped = false;       // the frame that comes in
  };

  void TakeAnalog(const sr_datafeed_analog& analog);
  void TakeMeta(const sr_datafeed_meta& meta) noexcept;
  void BeginFrame() noexcept;
  void EndFrame();
  Series& SeriesOf(const Meaning& meaning, const UnitRow& units);
  void DropOthersOf(const Meaning& meaning) noexcept;
  void Add(const Meaning& meaning, Series& series, const MeasuredNumber& number);
  void HandOn(const Meaning& meaning, Series& series);
  std::size_t Points() const noexcept;

  MeasurementSink& sink_;
  const std::optional<std::size_t> told_points_;
  double rate_Hz_ = 0;
  bool in_frame_ = false;
  std::map<Meaning, Series> series_;
};

}  // namespace Lumenar::Sigrok
