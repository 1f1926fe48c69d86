// SPDX-License-Identifier: Apache-2.0
// The operations on traces through the engine's values, beside what bounds them: a copy of the trace for those that
// stream through memory, the plain loop for the sum whose order is part of the result. No call allocates, but for the
// mean's copy of the last RESULT.
#include <benchmark/benchmark.h>
#include <fmt/format.h>

#include <cstring>
#include <exception>
#include <iostream>
#include <memory>
#include <random>
#include <vector>

#include "Common_Math/src/MathValueBasicTrace.h"
#include "Common_Math/src/RunningMean.h"
#include "bench/Comparisons.h"
#include "platform/base/TraceMemory.h"
#include "platform/records/Records.h"
#include "platform/records/SampleRecord.h"

namespace Lumenar::Bench {
namespace {

using Corvanta::BASIC_TRACE::BT_DATA;

constexpr double kMicroseconds = 1e6;
constexpr Value::Units kWatt = Value::C_Watts;
constexpr Value::Units kDecibelWatt = Value::Make_unit(Value::U_Watt, 1, 0, true);

BT_DATA RandomTrace(int points, const Value::Units& units, unsigned seed) {
  std::mt19937 generator(seed);
  std::uniform_real_distribution<float> level(-1.0f, 1.0f);
  BT_DATA record = DefaultRecord<BT_DATA>();
  record.units = VALUE::UnitsToCorba(units);
  record.samples.length(static_cast<CORBA::ULong>(points));
  for (CORBA::ULong i = 0; i < record.samples.length(); ++i) record.samples[i] = level(generator);
  return record;
}

/// A copy of a trace of this length into memory that is there.
std::function<void()> Copy(int points) {
  struct Buffers {
    std::vector<float> from, to;
  };
  const auto count = static_cast<std::size_t>(points);
  const auto buffers = std::make_shared<Buffers>(Buffers{std::vector<float>(count, 1.0f), std::vector<float>(count)});
  return [buffers, count] {
    std::memcpy(buffers->to.data(), buffers->from.data(), count * sizeof(float));
    benchmark::DoNotOptimize(buffers->to.data());
  };
}

/// Two traces, and something done to them again and again.
std::function<void()> WithTwo(int points, const Value::Units& units, void (*step)(MathTrace& a, const MathTrace& b)) {
  struct Operands {
    MathTrace a, b;
  };
  const auto operands = std::make_shared<Operands>(
      Operands{MathTrace(RandomTrace(points, units, 1)), MathTrace(RandomTrace(points, units, 2))});
  return [operands, step] { step(operands->a, operands->b); };
}

void AddStreams(std::vector<Comparison>& all) {
  struct Stream {
    const char* name;
    const Value::Units& units;
    void (*step)(MathTrace&, const MathTrace&);
  };
  static const Stream kStreams[] = {
      {"difference", kWatt, [](MathTrace& a, const MathTrace& b) { a -= b; }},
      {"relative difference", kDecibelWatt, [](MathTrace& a, const MathTrace& b) { a.RelativeSubEqual(b); }},
      {"peak hold", kWatt, [](MathTrace& a, const MathTrace& b) { a.DoPeak(b); }},
  };
  for (const auto& [name, units, step] : kStreams) {
    for (const int points : {10001, 100001, 1000001}) {
      all.push_back({fmt::format("{} of traces, {} points, to memcpy", name, points), "us", kMicroseconds,
                     WithTwo(points, units, step), Copy(points), 1.7});
    }
  }
}

[[gnu::noinline]] float PlainSum(const float* values, std::size_t count) {
  float sum = values[0];
  for (std::size_t i = 1; i < count; ++i) sum += values[i];
  return sum;
}

void AddSums(std::vector<Comparison>& all) {
  for (const int points : {10001, 100001, 1000001}) {
    const auto trace = std::make_shared<MathTrace>(RandomTrace(points, kWatt, 3));
    trace->UpdateValues();
    all.push_back({fmt::format("range sum of a trace, {} points, to a plain loop", points), "us", kMicroseconds,
                   [trace, points] { benchmark::DoNotOptimize(trace->CumulativeAdd(0, points - 1)); },
                   [trace] {
                     const auto& samples = trace->record.samples;
                     benchmark::DoNotOptimize(PlainSum(samples.get_buffer(), samples.length()));
                   },
                   1.1});
  }
}

/// What Average does with one sample, between its delivery and its publication: RESULT is read back and exchanged.
class AverageOfOneInput {
 public:
  AverageOfOneInput(int points, int size) : size_(size), input_(RandomTrace(points, kWatt, 4)) {
    CopyRecord(result_, input_);
    for (int i = 0; i < 2 * size; ++i) NextSample();
  }

  void NextSample() {
    BT_DATA record;
    CopyRecord(record, input_);  // stands for the delivery, which reads the socket into a new record
    MathTrace sample(std::move(record));
    sample.Remove_dB();
    if (mean_.IsEmpty()) {
      mean_.Begin(sample);
      return;
    }
    MathTrace mean(result_);
    mean.Remove_dB();
    mean_.Continue(mean, std::move(sample), size_);
    ExchangeRecord(result_, mean.record);
  }

 private:
  const int size_;
  const BT_DATA input_;
  BT_DATA result_ = DefaultRecord<BT_DATA>();
  RunningMean<BT_DATA> mean_;
};

void AddAverages(std::vector<Comparison>& all) {
  for (const int points : {1001, 2001, 10001}) {
    const auto average = [points](int size) -> std::function<void()> {
      const auto one = std::make_shared<AverageOfOneInput>(points, size);
      return [one] { one->NextSample(); };
    };
    // A short trace shows what a sample costs whatever its length; its copy is no measure for that.
    const std::optional<double> times_memcpy = points < 10001 ? std::nullopt : std::optional(8.0);
    for (const int size : {2, 99}) {
      all.push_back({fmt::format("Average of SIZE {}, one sample, {} points, to memcpy", size, points), "us",
                     kMicroseconds, average(size), Copy(points), times_memcpy});
    }
    // Beyond the short ones, 99 traces do not fit into the processor's own cache: the one that leaves comes from one
    // shared with others.
    all.push_back({fmt::format("Average, one sample, {} points, SIZE 99 to SIZE 2", points), "us", kMicroseconds,
                   average(99), average(2), 1.1});
  }
}

}  // namespace
}  // namespace Lumenar::Bench

int main(int argc, char** argv) {
  using namespace Lumenar;
  try {
    KeepTraceMemory();
    std::vector<Bench::Comparison> all;
    Bench::AddStreams(all);
    Bench::AddSums(all);
    Bench::AddAverages(all);
    Bench::RunComparisons(argc, argv, all);
  } catch (const std::exception& failure) {
    std::cerr << "operations_benchmark: " << failure.what() << std::endl;
    return 1;
  }
}
