// SPDX-License-Identifier: Apache-2.0
#include "instruments/sim/Waveform.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <vector>

namespace Lumenar::Sim {
namespace {

using testing::ElementsAre;

std::vector<float> Sample(const Waveform& waveform, std::uint64_t n, std::size_t points) {
  std::vector<float> sample(points);
  waveform.Fill(n, sample);
  return sample;
}

Waveform Make(Wave wave, std::uint32_t period = 4, std::uint64_t seed = 0) {
  return Waveform({wave, 2, 10, period, seed});
}

TEST(Waveform, CyclesMoveByOnePointASample) {
  EXPECT_THAT(Sample(Make(Wave::Ramp), 0, 5), ElementsAre(10, 10.5f, 11, 11.5f, 10));
  EXPECT_THAT(Sample(Make(Wave::Ramp), 1, 5), ElementsAre(10.5f, 11, 11.5f, 10, 10.5f));
  EXPECT_THAT(Sample(Make(Wave::Square), 0, 5), ElementsAre(12, 12, 8, 8, 12));
  EXPECT_THAT(Sample(Make(Wave::Square, 3), 2, 3), ElementsAre(8, 12, 12));
  EXPECT_THAT(Sample(Make(Wave::Sine), 0, 5), ElementsAre(10, 12, 10, 8, 10));
  EXPECT_THAT(Sample(Make(Wave::Sine), 3, 2), ElementsAre(8, 10));
}

TEST(Waveform, ConstantAndCount) {
  EXPECT_THAT(Sample(Make(Wave::Constant), 7, 2), ElementsAre(10, 10));
  EXPECT_THAT(Sample(Make(Wave::Count), 7, 2), ElementsAre(24, 24));
}

// The hash of seed 0, sample 0, point 0, computed apart from the code.
TEST(Waveform, NoiseIsTheDocumentedHash) {
  EXPECT_EQ(Waveform::Hash(0, 0, 0), 0x238275bc38fcbe91ull);
  EXPECT_EQ(Waveform::Hash(1, 2, 3), 0x6ae515c1c0ac7e37ull);
  const Waveform noise = Make(Wave::Noise, 1, 1);
  EXPECT_EQ(noise.At(2, 3),
            10 + 2 * (2 * (static_cast<double>(Waveform::Hash(1, 2, 3) >> 11) / 9007199254740992.0) - 1));
}

TEST(Waveform, NoiseFillsItsRangeAndDependsOnEachIndex) {
  const Waveform noise({Wave::Noise, 1, 0, 1, 42});
  double sum = 0, least = 1, most = -1;
  constexpr int kPoints = 10000;
  for (int i = 0; i < kPoints; ++i) {
    const double w = noise.At(5, static_cast<std::uint32_t>(i));
    sum += w;
    least = std::min(least, w);
    most = std::max(most, w);
  }
  EXPECT_NEAR(sum / kPoints, 0, 0.03);
  EXPECT_LT(least, -0.99);
  EXPECT_GT(most, 0.99);
  EXPECT_GE(least, -1);
  EXPECT_LT(most, 1);
  EXPECT_NE(noise.At(5, 0), noise.At(6, 0));
  EXPECT_NE(noise.At(5, 0), noise.At(5, 1));
  EXPECT_NE(noise.At(5, 0), Waveform({Wave::Noise, 1, 0, 1, 43}).At(5, 0));
}

TEST(Waveform, LargeIndicesDoNotOverflow) {
  const Waveform ramp({Wave::Ramp, 1, 0, 1u << 24, 0});
  EXPECT_EQ(ramp.At(~0ull, ~0u), static_cast<double>((((1u << 24) - 1) + ((1u << 24) - 1)) % (1u << 24)) / (1u << 24));
}

}  // namespace
}  // namespace Lumenar::Sim
