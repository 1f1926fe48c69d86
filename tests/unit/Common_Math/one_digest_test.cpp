// One digest of the kernels' results, whatever instructions compute them: every path that this processor can choose while
// it runs, builds for one path alone (see the CMakeLists), and other processors.
#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <string_view>
#include <vector>

#include "Common_Math/src/trace_kernels.h"
#include "Value/decibel_kernels.h"
#include "Value/decibel_paths.h"

namespace Lumenar {

namespace {

using Value::Detail::Kernel_path;

/// FNV-1a over the results' bits. Every NaN counts as one: which of them an addition gives depends on the processor.
class Digest {
 public:
  void Add(const std::vector<float>& numbers) {
    for (const float number : numbers) {
      const std::uint32_t bits = std::isnan(number) ? 0x7fc00000u : std::bit_cast<std::uint32_t>(number);
      sum_ = (sum_ ^ bits) * 0x100000001b3;
    }
  }

  std::uint64_t Sum() const { return sum_; }

 private:
  std::uint64_t sum_ = 0xcbf29ce484222325;
};

/// Floats of every magnitude, denormals, both zeros, infinities and NaN among them; two seeds meet all pairs of kinds.
std::vector<float> AnyFloats(std::uint32_t seed) {
  constexpr std::size_t kCount = 200001;
  std::vector<float> floats(kCount);
  std::uint32_t state = seed;
  for (float& number : floats) {
    state = state * 1664525 + 1013904223;
    const std::uint32_t bits = state >> 5 ^ state << 27;
    number = std::bit_cast<float>(state % 11 == 0 ? bits & 0x807fffffu : state % 13 == 0 ? bits | 0x7f800000u : bits);
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
  // Levels as they are measured: few of AnyFloats have a finite power.
  for (std::size_t i = 0; i < in.size(); ++i) out[i] = static_cast<float>(i) / 1000.0f - 100.0f;
  Value::Detail::Decibel_to_linear(path, out.data(), out.data(), out.size(), 1);
  digest.Add(out);
}

template <class Kernel>
void AddTrace(Digest& digest, Kernel kernel) {
  std::vector<float> values = AnyFloats(2);
  kernel(values.data(), values.size());
  digest.Add(values);
}

void AddTraces(Digest& digest) {
  const std::vector<float> other = AnyFloats(3);
  AddTrace(digest, [&](float* values, std::size_t count) { Kernels::Add(values, other.data(), count); });
  AddTrace(digest, [&](float* values, std::size_t count) { Kernels::Subtract(values, other.data(), count); });
  AddTrace(digest, [&](float* values, std::size_t count) { Kernels::HoldPeak(values, other.data(), count); });
  AddTrace(digest, [](float* values, std::size_t count) { Kernels::RaiseToPositive(values, count); });
  for (const float number : {3.0f, -0.7f, 1e-30f, 1e30f}) {
    AddTrace(digest, [&](float* values, std::size_t count) { Kernels::Multiply(values, number, count); });
    AddTrace(digest, [&](float* values, std::size_t count) { Kernels::Divide(values, number, count); });
  }
  std::vector<float> levels(other.size());
  for (std::size_t i = 0; i < levels.size(); ++i) levels[i] = std::isfinite(other[i]) ? std::fmod(other[i], 1e6f) : 1.0f;
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
  constexpr std::uint64_t kExpected = 0x0cd948272ae7dfa4;
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
