// SPDX-License-Identifier: Apache-2.0
// One digest of the kernels' results, whatever instructions compute them: every path that this processor can choose
// while it runs, builds for one path alone (see the CMakeLists), and other processors.
#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <string_view>
#include <vector>

#include "Common_Math/src/trace_kernels.h"
#include "platform/value/decibel_kernels.h"
#include "platform/value/decibel_paths.h"

namespace Lumenar {

namespace {

using Value::Detail::Kernel_path;

/// FNV-1a over the results' bits, with the upper half of the sum mixed into the lower, since a product carries
/// differences upwards only. Every NaN counts as one: which of them an addition gives depends on the processor.
class Digest {
 public:
  void Add(const std::vector<float>& numbers) {
    for (const float number : numbers) {
      const std::uint32_t bits = std::isnan(number) ? 0x7fc00000u : std::bit_cast<std::uint32_t>(number);
      sum_ = (sum_ ^ bits) * 0x100000001b3;
      sum_ ^= sum_ >> 32;
    }
  }

  std::uint64_t Sum() const { return sum_; }

 private:
  std::uint64_t sum_ = 0xcbf29ce484222325;
};

/// Where instructions and compilers differ: the sign of a zero, what becomes of a denormal, a comparison with a NaN.
constexpr float kSpecial[] = {0.0f,
                              -0.0f,
                              std::numeric_limits<float>::denorm_min(),
                              -std::numeric_limits<float>::denorm_min(),
                              std::numeric_limits<float>::min(),
                              -std::numeric_limits<float>::min(),
                              1.0f,
                              -1.0f,
                              std::numeric_limits<float>::max(),
                              -std::numeric_limits<float>::max(),
                              std::numeric_limits<float>::infinity(),
                              -std::numeric_limits<float>::infinity(),
                              std::numeric_limits<float>::quiet_NaN()};
constexpr std::size_t kSpecials = std::size(kSpecial);

/// Floats of every magnitude, denormals, infinities and NaN among them, and each kSpecial so many times in a row.
/// Beside each other, a 1 and a kSpecials bring all pairs of them together, at every place in a vector.
std::vector<float> AnyFloats(std::uint32_t seed, std::size_t in_a_row = 1) {
  constexpr std::size_t kCount = 200001;
  std::vector<float> floats(kCount);
  std::uint32_t state = seed;
  for (std::size_t i = 0; i < kCount; ++i) {
    state = state * 1664525 + 1013904223;
    const std::uint32_t bits = state >> 5 ^ state << 27;
    const float any = std::bit_cast<float>(state % 11 == 0   ? bits & 0x807fffffu
                                           : state % 13 == 0 ? bits | 0x7f800000u
                                                             : bits);
    floats[i] = i % 7 == 3 ? kSpecial[i / 7 / in_a_row % kSpecials] : any;
  }
  return floats;
}

void AddDecibels(Digest& digest, Kernel_path path) {
  const std::vector<float> in = AnyFloats(1);
  std::vector<float> out(in.size());
  for (const double k : {1.0, 2.0, -3.0, 0.37}) {
    Value::Detail::Linear_to_decibel(path, in.data(), out.data(), in.size(), k);
    digest.Add(out);
    Value::Detail::Decibel_to_linear(path, in.data(), out.data(), in.size(), k);
    digest.Add(out);
  }
  // Where all samples of a block have an estimate: a NaN among them, and all are converted one by one. Levels as they
  // are measured, since few of AnyFloats have a finite power, and positive normal numbers, with many a 1.
  std::vector<float> levels(in.size());
  std::vector<float> positive(in.size());
  for (std::size_t i = 0; i < in.size(); ++i) {
    levels[i] = static_cast<float>(i) / 1000.0f - 100.0f;
    positive[i] = i % 7 == 3 ? 1.0f : std::bit_cast<float>(0x00800000u + static_cast<std::uint32_t>(i) * 10653u);
  }
  for (const double k : {1.0, -3.0, 0.37, -0.37}) {
    Value::Detail::Decibel_to_linear(path, levels.data(), out.data(), out.size(), k);
    digest.Add(out);
    Value::Detail::Linear_to_decibel(path, positive.data(), out.data(), out.size(), k);
    digest.Add(out);
  }
}

template <class Kernel>
void AddTrace(Digest& digest, Kernel kernel) {
  std::vector<float> values = AnyFloats(2);
  kernel(values.data(), values.size());
  digest.Add(values);
}

void AddMeans(Digest& digest, const std::vector<float>& newest) {
  const std::vector<float> oldest = AnyFloats(4, kSpecials * kSpecials);
  AddTrace(digest, [&](float* values, std::size_t count) { Kernels::NextMean(values, {6, newest.data(), 7}, count); });
  AddTrace(digest, [&](float* values, std::size_t count) {
    Kernels::NextMeanWithout(values, {7, newest.data(), 7}, oldest.data(), count);
  });
}

/// The smaller ones replaced by others, in two steps.
void AddReplacement(Digest& digest, const std::vector<float>& other) {
  std::vector<unsigned char> replaced(other.size());
  AddTrace(digest, [&](float* values, std::size_t count) {
    Kernels::MarkSmaller(values, other.data(), replaced.data(), count);
    Kernels::Replace(values, other.data(), replaced.data(), count);
  });
}

void AddTraces(Digest& digest) {
  const std::vector<float> other = AnyFloats(3, kSpecials);
  AddTrace(digest, [&](float* values, std::size_t count) { Kernels::Add(values, other.data(), count); });
  AddTrace(digest, [&](float* values, std::size_t count) { Kernels::Subtract(values, other.data(), count); });
  AddTrace(digest, [&](float* values, std::size_t count) { Kernels::HoldPeak(values, other.data(), count); });
  AddReplacement(digest, other);
  AddMeans(digest, other);
  AddTrace(digest, [](float* values, std::size_t count) { Kernels::RaiseToPositive(values, count); });
  for (const float number : {3.0f, -0.7f, 1e-30f, 1e30f, -0.0f}) {
    AddTrace(digest, [&](float* values, std::size_t count) { Kernels::Multiply(values, number, count); });
    AddTrace(digest, [&](float* values, std::size_t count) { Kernels::Divide(values, number, count); });
  }
  std::vector<float> levels(other.size());
  for (std::size_t i = 0; i < levels.size(); ++i)
    levels[i] = std::isfinite(other[i]) ? std::fmod(other[i], 1e6f) : 1.0f;
  for (std::size_t i = 0; i < 67; ++i) digest.Add({Kernels::SumInOrder(0.1f, levels.data() + i, levels.size() - i)});
}

/// Of a build for one instruction set: whether this processor has it.
bool CanRun() {
#if defined(LUMENAR_BUILT_FOR) && defined(__x86_64__)
  const std::string_view feature = LUMENAR_BUILT_FOR;
  if (feature == "avx2") return __builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma");
  if (feature == "avx512f") return __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512vl");
#endif
  return true;
}

TEST(OneDigest, OfALargeSetOfResultsOnEveryPath) {
  if (!CanRun()) GTEST_SKIP() << "not on this processor";
  constexpr std::uint64_t kExpected = 0xf621c92e4c52fa90;
  for (const Kernel_path path : {Kernel_path::baseline, Kernel_path::avx2, Kernel_path::avx512}) {
    if (!Value::Detail::Is_available(path)) continue;
    Digest digest;
    AddDecibels(digest, path);
    AddTraces(digest);
    EXPECT_EQ(digest.Sum(), kExpected) << "path " << static_cast<int>(path) << ", " << std::hex << digest.Sum();
  }
}

}  // namespace

}  // namespace Lumenar
