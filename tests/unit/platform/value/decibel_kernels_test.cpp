// SPDX-License-Identifier: Apache-2.0
#include "platform/value/decibel_kernels.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <ostream>
#include <span>
#include <string>
#include <vector>

#include "judge/decibels.h"
#include "platform/value/decibel_paths.h"

namespace Lumenar::Value {

namespace {

using Detail::Kernel_path;

constexpr float kInf = std::numeric_limits<float>::infinity();
constexpr float kNan = std::numeric_limits<float>::quiet_NaN();
constexpr float kDenormal_min = std::numeric_limits<float>::denorm_min();
constexpr float kMax = std::numeric_limits<float>::max();

std::uint32_t Bits(float number) { return std::bit_cast<std::uint32_t>(number); }
float From_bits(std::uint32_t bits) { return std::bit_cast<float>(bits); }

/// The first index at which the bits differ.
testing::AssertionResult Same_bits(std::span<const float> actual, std::span<const float> expected) {
  for (std::size_t i = 0; i < actual.size(); ++i) {
    if (Bits(actual[i]) == Bits(expected[i])) continue;
    return testing::AssertionFailure() << "index " << i << ": " << std::hexfloat << actual[i] << " instead of "
                                       << expected[i];
  }
  return testing::AssertionSuccess();
}

struct Direction {
  const char* name;
  void (*convert)(Kernel_path, const float*, float*, std::size_t, double) noexcept;
  void (*convert_best)(const float*, float*, std::size_t, double) noexcept;
  float (*scalar)(float, double) noexcept;
  float (*judge)(float, double, Judge::Tally&);
  void (*judge_many)(std::span<const float>, std::span<float>, double, Judge::Tally&);
};

std::ostream& operator<<(std::ostream& out, const Direction& direction) { return out << direction.name; }

constexpr Direction kTo_decibel{"linear to dB",    Detail::Linear_to_decibel, Linear_to_decibel,
                                Linear_to_decibel, Judge::Linear_to_decibel,  Judge::Linear_to_decibel};
constexpr Direction kTo_linear{"dB to linear",    Detail::Decibel_to_linear, Decibel_to_linear,
                               Decibel_to_linear, Judge::Decibel_to_linear,  Judge::Decibel_to_linear};

std::vector<Kernel_path> Available_paths() {
  std::vector<Kernel_path> paths;
  for (const Kernel_path path : {Kernel_path::baseline, Kernel_path::avx2, Kernel_path::avx512}) {
    if (Detail::Is_available(path)) paths.push_back(path);
  }
  return paths;
}

/// Every stride-th float by its bits.
std::vector<float> Sample_of_all_floats(std::uint32_t stride) {
  std::vector<float> sample;
  for (std::uint64_t bits = 0; bits <= 0xffffffffU; bits += stride) {
    sample.push_back(From_bits(static_cast<std::uint32_t>(bits)));
  }
  return sample;
}

/// Numbers of every kind at places that are not multiples of a vector length.
std::vector<float> Mixed_numbers(std::size_t count) {
  static constexpr std::array kSpecial{0.0f, -0.0f, kInf, -kInf, kNan, kDenormal_min, -1.0f, 1.0f, kMax, 1e-40f};
  std::vector<float> numbers(count);
  std::uint32_t state = 12345;
  for (std::size_t i = 0; i < count; ++i) {
    state = state * 1664525 + 1013904223;
    const float ordinary = static_cast<float>(state >> 8) / 65536.0f - 100.0f;
    numbers[i] = i % 7 == 3 ? kSpecial[(i / 7) % kSpecial.size()] : ordinary;
  }
  return numbers;
}

/// Long double has 64 bits of precision on this processor; elsewhere MPFR judges alone, which takes its time.
constexpr bool kJudge_is_fast = std::numeric_limits<long double>::digits == 64;

/// Floats in the order of their bits: a coarse sample of all, dense around the ends of the parts within which the order
/// of numbers is kept, and dense where runs of equal results are long and short.
std::vector<float> Ascending_floats() {
  std::vector<std::uint32_t> all;
  for (std::uint64_t bits = 0; bits <= 0xffffffffU; bits += 16777259) all.push_back(static_cast<std::uint32_t>(bits));
  for (const std::uint32_t first :
       {0x00000000u, 0x30ffff80u, 0x3f7fff80u, 0x411fff80u, 0x43c08000u, 0x7cffff80u, 0x7f7fff80u, 0x7fffff80u,
        0xb0ffff80u, 0xc11fff80u, 0xc3e0ff80u, 0xff7fff80u, 0xffffff00u}) {
    for (std::uint32_t i = 0; i < 256; ++i) all.push_back(first + i);
  }
  std::ranges::sort(all);
  std::vector<float> floats(all.size());
  std::ranges::transform(all, floats.begin(), From_bits);
  return floats;
}

class BothDirections : public testing::TestWithParam<Direction> {};

TEST_P(BothDirections, ToJudgeManyFloatsGivesWhatJudgingEachOfThemGives) {
  const std::vector<float> in = Ascending_floats();
  std::vector<float> many(in.size());
  std::vector<float> each(in.size());
  for (const double k : {1.0, -3.0, 0.0, -0.0, 1e-41, 1.7e308, static_cast<double>(kInf), -static_cast<double>(kInf),
                         static_cast<double>(kNan)}) {
    Judge::Tally tally;
    GetParam().judge_many(in, many, k, tally);
    std::ranges::transform(in, each.begin(), [&](float x) { return GetParam().judge(x, k, tally); });
    EXPECT_TRUE(Same_bits(many, each)) << "k = " << k;
  }
}

TEST_P(BothDirections, ASampleOfAllFloatsIsCorrectlyRoundedOnEveryPath) {
  const std::vector<float> in = Sample_of_all_floats(kJudge_is_fast ? 257 : 65537);
  std::vector<float> expected(in.size());
  Judge::Tally tally;
  GetParam().judge_many(in, expected, 1, tally);
  std::vector<float> out(in.size());
  for (const Kernel_path path : Available_paths()) {
    GetParam().convert(path, in.data(), out.data(), in.size(), 1);
    EXPECT_TRUE(Same_bits(out, expected)) << "path " << static_cast<int>(path);
  }
  std::ranges::transform(in, out.begin(), [](float x) { return GetParam().scalar(x, 1); });
  EXPECT_TRUE(Same_bits(out, expected)) << "scalar";
}

TEST_P(BothDirections, EveryFactorIsCorrectlyRoundedOnEveryPath) {
  const std::vector<float> in = Sample_of_all_floats(kJudge_is_fast ? 262145 : 4194305);
  std::vector<float> expected(in.size());
  std::vector<float> out(in.size());
  for (const double k : {-4.0,
                         -3.0,
                         -2.0,
                         -1.0,
                         0.0,
                         2.0,
                         3.0,
                         4.0,
                         0.37,
                         1 / 3.0,
                         1e-30,
                         1e-41,
                         1e60,
                         1e61,
                         1e-61,
                         1e300,
                         -1e-320,
                         1.7e308,
                         -1.7e308,
                         static_cast<double>(kInf),
                         static_cast<double>(kNan)}) {
    Judge::Tally tally;
    std::ranges::transform(in, expected.begin(), [&](float x) { return GetParam().judge(x, k, tally); });
    for (const Kernel_path path : Available_paths()) {
      GetParam().convert(path, in.data(), out.data(), in.size(), k);
      EXPECT_TRUE(Same_bits(out, expected)) << "k = " << k << ", path " << static_cast<int>(path);
    }
  }
}

TEST_P(BothDirections, EveryCountAndAlignmentGivesTheScalarBitsAndWritesNothingElse) {
  constexpr std::size_t kLargest_count = 67;
  constexpr float kSentinel = 123456.0f;
  const std::vector<float> numbers = Mixed_numbers(kLargest_count + 3);
  for (const Kernel_path path : Available_paths()) {
    for (std::size_t shift = 0; shift < 3; ++shift) {
      for (std::size_t count = 0; count <= kLargest_count; ++count) {
        std::vector<float> out(kLargest_count + 8, kSentinel);
        std::vector<float> expected = out;
        std::transform(&numbers[shift], &numbers[shift] + count, &expected[3 - shift],
                       [](float x) { return GetParam().scalar(x, 1); });
        GetParam().convert(path, &numbers[shift], &out[3 - shift], count, 1);
        ASSERT_TRUE(Same_bits(out, expected)) << "count " << count << ", shift " << shift;
      }
    }
  }
}

TEST_P(BothDirections, OneSampleGivesTheSameBitsAtEveryIndex) {
  for (const float x : {0.75f, -31.5f, 0.0f, 1e-42f, kNan, kInf}) {
    const std::vector<float> in(203, x);
    const std::vector<float> expected(in.size(), GetParam().scalar(x, 1));
    std::vector<float> out(in.size());
    for (const Kernel_path path : Available_paths()) {
      GetParam().convert(path, in.data(), out.data(), in.size(), 1);
      EXPECT_TRUE(Same_bits(out, expected)) << x;
    }
  }
}

TEST_P(BothDirections, WorksInPlaceAlsoWhereABlockIsRedone) {
  const std::vector<float> in = Mixed_numbers(1000);
  std::vector<float> expected(in.size());
  GetParam().convert_best(in.data(), expected.data(), in.size(), 2);
  for (const Kernel_path path : Available_paths()) {
    std::vector<float> numbers = in;
    GetParam().convert(path, numbers.data(), numbers.data(), numbers.size(), 2);
    EXPECT_TRUE(Same_bits(numbers, expected));
  }
}

/// The same sum of bits on every processor, whoever judges there.
TEST_P(BothDirections, TheDigestOfASampleIsTheSameOnEveryProcessor) {
  const std::vector<float> in = Sample_of_all_floats(4097);
  std::vector<float> out(in.size());
  GetParam().convert_best(in.data(), out.data(), in.size(), 1);
  std::uint64_t digest = 0xcbf29ce484222325;
  for (const float number : out) digest = (digest ^ Bits(number)) * 0x100000001b3;
  const std::uint64_t expected = GetParam().convert == kTo_decibel.convert ? 0x4df713a80d346e28 : 0x102e2f90bda3523a;
  EXPECT_EQ(digest, expected) << std::hex << digest;
}

INSTANTIATE_TEST_SUITE_P(Kernels, BothDirections, testing::Values(kTo_decibel, kTo_linear), [](const auto& direction) {
  return std::string(direction.index == 0 ? "ToDecibel" : "ToLinear");
});

struct Row {
  const char* why;
  float x;
  double k;
  std::uint32_t expected;
};

std::ostream& operator<<(std::ostream& out, const Row& row) { return out << row.why; }

constexpr std::uint32_t kInf_bits = 0x7f800000;
constexpr std::uint32_t kMinus_inf_bits = 0xff800000;
constexpr std::uint32_t kNan_bits = 0x7fc00000;

class ToDecibelRow : public testing::TestWithParam<Row> {};

TEST_P(ToDecibelRow, GivesTheseBits) {
  const auto& [why, x, k, expected] = GetParam();
  EXPECT_EQ(Bits(Linear_to_decibel(x, k)), expected);
  float out = 0;
  Linear_to_decibel(&x, &out, 1, k);
  EXPECT_EQ(Bits(out), expected);
}

const Row kTo_decibel_rows[] = {
    {"plus zero", 0.0f, 1, kMinus_inf_bits},
    {"minus zero", -0.0f, 1, kMinus_inf_bits},
    {"negative", -1.0f, 1, kNan_bits},
    {"minus infinity", -kInf, 1, kNan_bits},
    {"infinity", kInf, 1, kInf_bits},
    {"NaN with sign and payload", std::bit_cast<float>(0xffc12345U), 1, kNan_bits},
    {"signalling NaN", std::bit_cast<float>(0x7f800001U), 1, kNan_bits},
    {"one", 1.0f, 1, 0x00000000},
    {"one, negative factor", 1.0f, -1, 0x80000000},
    {"a power of ten is exact", 1e10f, 1, std::bit_cast<std::uint32_t>(100.0f)},
    {"a power of ten, squared unit", 1000.0f, 2, std::bit_cast<std::uint32_t>(60.0f)},
    {"smallest normal", 0x1p-126f, 1, std::bit_cast<std::uint32_t>(-379.2978f)},
    {"smallest denormal: 10 * log10(2^-149)", 0x1p-149f, 1, std::bit_cast<std::uint32_t>(-448.53470f)},
    {"factor 0 of an infinite logarithm", 0.0f, 0, kNan_bits},
    {"factor 0", 2.0f, 0, 0x00000000},
    {"infinite scale of a logarithm that is 0", 1.0f, 1.7e308, kNan_bits},
    {"infinite scale", 2.0f, 1.7e308, kInf_bits},
    {"NaN factor", 2.0f, std::numeric_limits<double>::quiet_NaN(), kNan_bits},
};

INSTANTIATE_TEST_SUITE_P(Kernels, ToDecibelRow, testing::ValuesIn(kTo_decibel_rows));

class ToLinearRow : public testing::TestWithParam<Row> {};

TEST_P(ToLinearRow, GivesTheseBits) {
  const auto& [why, x, k, expected] = GetParam();
  EXPECT_EQ(Bits(Decibel_to_linear(x, k)), expected);
  float out = 0;
  Decibel_to_linear(&x, &out, 1, k);
  EXPECT_EQ(Bits(out), expected);
}

/// 2^-24 is half a unit in the last place of 1: 1 + 2^-24 and 1 + 3 * 2^-24 lie in the middle of two floats, as do odd
/// whole numbers between 2^24 and 2^25.
const Row kTo_linear_rows[] = {
    {"0 dB", 0.0f, 1, std::bit_cast<std::uint32_t>(1.0f)},
    {"minus 0 dB", -0.0f, 1, std::bit_cast<std::uint32_t>(1.0f)},
    {"100 dB", 100.0f, 1, std::bit_cast<std::uint32_t>(1e10f)},
    {"-10 dB, factor 2", -10.0f, 2, std::bit_cast<std::uint32_t>(0.2f)},
    {"-infinity", -kInf, 1, 0x00000000},
    {"-infinity, negative factor", -kInf, -2, 0x80000000},
    {"infinity", kInf, 1, kInf_bits},
    {"infinity, negative factor", kInf, -2, kMinus_inf_bits},
    {"infinity, factor 0", kInf, 0, kNan_bits},
    {"-infinity, infinite factor", -kInf, std::numeric_limits<double>::infinity(), kNan_bits},
    {"NaN with sign and payload", std::bit_cast<float>(0xffc12345U), 1, kNan_bits},
    {"NaN, factor 0", kNan, 0, kNan_bits},
    {"NaN factor", 1.0f, std::numeric_limits<double>::quiet_NaN(), kNan_bits},
    {"factor 0", 30.0f, 0, 0x00000000},
    {"factor -0", 30.0f, -0.0, 0x80000000},
    {"overflow", 386.0f, 1, kInf_bits},
    {"largest input", kMax, 1, kInf_bits},
    {"largest input, smallest factor", kMax, 5e-324, kInf_bits},
    {"smallest input, largest factor", -kMax, 1.7e308, 0x00000000},
    {"denormal result 10^-40", -400.0f, 1, std::bit_cast<std::uint32_t>(1e-40f)},
    {"half the smallest denormal and a little more", -451.0f, 1, 0x00000001},
    {"a little less than half the smallest denormal", -452.0f, 1, 0x00000000},
    {"tie, down to even", 0.0f, 1 + 0x1p-24, 0x3f800000},
    {"tie, up to even", 0.0f, 1 + 3 * 0x1p-24, 0x3f800002},
    {"tie of negative numbers", 0.0f, -1 - 3 * 0x1p-24, 0xbf800002},
    {"just above a tie, by a tiny power", 0x1p-140f, 1 + 0x1p-24, 0x3f800001},
    {"just below a tie, by a tiny power", -0x1p-140f, 1 + 3 * 0x1p-24, 0x3f800001},
    {"tie of 10 * k, down to even", 10.0f, 3355445, std::bit_cast<std::uint32_t>(33554448.0f)},
    {"tie of 10 * k, up to even", 10.0f, 3355447, std::bit_cast<std::uint32_t>(33554472.0f)},
    {"tie of k / 10, down to even", -10.0f, 167772170, std::bit_cast<std::uint32_t>(16777216.0f)},
    {"tie of k / 10, up to even", -10.0f, 167772190, std::bit_cast<std::uint32_t>(16777220.0f)},
    {"tie of k / 10^22, the largest exact power, down to even", -220.0f, 0x1.0f0cf064dd592p-77, 0x00000000},
    {"tie of k / 10^22, up to even", -220.0f, 0x1.969368974c05bp-76, 0x00000002},
};

INSTANTIATE_TEST_SUITE_P(Kernels, ToLinearRow, testing::ValuesIn(kTo_linear_rows));

TEST(Log10CorrectlyRounded, AgreesWithTheJudgeAroundEveryPowerOfTwoAndTen) {
  Judge::Tally tally;
  const auto expect_right = [&](float x) {
    for (const float near : {std::nextafter(x, 0.0f), x, std::nextafter(x, kInf)}) {
      EXPECT_EQ(Bits(Log10_correctly_rounded(near)), Bits(Judge::Log10(near, tally))) << std::hexfloat << near;
    }
  };
  for (int exponent = -149; exponent < 128; ++exponent) expect_right(std::ldexp(1.0f, exponent));
  for (int exponent = -149; exponent < 127; ++exponent) expect_right(std::ldexp(0x1.6a09e6p0f, exponent));
  for (int power = -44; power <= 38; ++power) expect_right(static_cast<float>(std::pow(10.0, power)));
}

/// The bits of all floats whose result (k = 1) comes within 2^-50, relatively, of the middle between two floats: the
/// work of the double-double arithmetic. For one of the first, 0x0efeee7a, the double logarithm rounds to the wrong
/// float.
constexpr std::uint32_t kHardest_logarithms[] = {
    0x0225f259, 0x058ecd6a, 0x0a4d4ce8, 0x0ab667dd, 0x0e10c607, 0x0efeee7a, 0x10b88aec, 0x120b93dc, 0x1266ada7,
    0x13ae78d3, 0x13b57a47, 0x15964dc5, 0x1944e975, 0x1eac122f, 0x262ca79a, 0x2846c871, 0x2b1b73f9, 0x2bb4e779,
    0x2f149212, 0x33b5ebfc, 0x356366fb, 0x427a28e9, 0x43079cce, 0x45bdedc8, 0x499271d9, 0x4dff4ddc, 0x56f8c876,
    0x5d610fe9, 0x5f3315a3, 0x604df02c, 0x610567e4, 0x62a6c1dd, 0x6307980c, 0x63bf4495, 0x63ce2f36, 0x64a97e0f,
    0x65716a23, 0x65903d25, 0x6a581bf5, 0x6f592c3c, 0x711016a5, 0x73cb20d6, 0x7f6362e7};
constexpr std::uint32_t kHardest_powers[] = {0x368249cd, 0x375d7d67, 0x431e6f9c, 0xb4d0761c, 0xb982e720,
                                             0xbc575ce4, 0xbc75f7f3, 0xc0cbcaa7, 0xc0cbcaa8};

TEST(HardestInputs, LogarithmsAgreeWithTheJudge) {
  for (const std::uint32_t bits : kHardest_logarithms) {
    Judge::Tally tally;
    EXPECT_EQ(Bits(Log10_correctly_rounded(From_bits(bits))), Bits(Judge::Log10(From_bits(bits), tally))) << bits;
    EXPECT_EQ(tally.by_mpfr, 1U) << "an easy one: " << bits;
  }
}

TEST(HardestInputs, PowersAgreeWithTheJudge) {
  for (const std::uint32_t bits : kHardest_powers) {
    Judge::Tally tally;
    const float x = From_bits(bits);
    EXPECT_EQ(Bits(Decibel_to_linear(x, 1)), Bits(Judge::Decibel_to_linear(x, 1, tally))) << bits;
    EXPECT_EQ(tally.by_mpfr, 1U) << "an easy one: " << bits;
  }
}

TEST(KernelPath, TheBestOneIsAvailable) {
  EXPECT_TRUE(Detail::Is_available(Detail::Best_path()));
  EXPECT_TRUE(Detail::Is_available(Kernel_path::baseline));
}

}  // namespace

}  // namespace Lumenar::Value
