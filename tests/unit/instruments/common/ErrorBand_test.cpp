// SPDX-License-Identifier: Apache-2.0
#include "instruments/common/ErrorBand.h"

#include <gtest/gtest.h>

#include <limits>
#include <stdexcept>

namespace Lumenar::Instruments {
namespace {

TEST(ErrorBand, ShareAndNumberAsDataSheetsHaveThem) {
  struct {
    const char* text;
    double of_ten;  // the band of a reading of -10
  } const cases[] = {{"0.0035 % + 0.0005", 0.00085},
                     {"0.0005 + 0.0035 %", 0.00085},
                     {"50 ppm", 0.0005},
                     {"0.01", 0.01},
                     {"1e-3+2e-3%", 0.0012},
                     {" 1 % ", 0.1},
                     {"0 % + 0", 0}};
  for (const auto& [text, of_ten] : cases) EXPECT_DOUBLE_EQ(ErrorBandFromText(text).Of(-10), of_ten) << text;
}

TEST(ErrorBand, OfWhatIsNotFiniteIsNone) {
  const ErrorBand band{0.01, 1};
  EXPECT_EQ(band.Of(std::numeric_limits<double>::infinity()), 0);
  EXPECT_EQ(band.Of(std::numeric_limits<double>::quiet_NaN()), 0);
}

TEST(ErrorBand, WhatIsNoneIsRefused) {
  for (const char* text :
       {"", "%", "-1", "-1 %", "1 +", "+ 1", "1 % + 2 %", "1 + 2", "1 V", "nan", "inf %", "1 %%", "1 % 2", "1e999"})
    EXPECT_THROW(ErrorBandFromText(text), std::invalid_argument) << text;
}

}  // namespace
}  // namespace Lumenar::Instruments
