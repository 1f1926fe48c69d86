// SPDX-License-Identifier: Apache-2.0
#include "Common_Math/src/SampleList.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <vector>

#include "platform/units/exceptions.h"

namespace Lumenar::Test {
namespace {

constexpr Value::Units kListWatt = Value::C_Watts;
constexpr Value::Units kListMilliwatt = Value::Make_unit(Value::U_Watt, 1, -3);

void ExpectEntry(const SampleList::Sample& entry, float number, const Value::Units& unit, float minus, float plus) {
  EXPECT_EQ(entry.Get_value(), number);
  EXPECT_EQ(entry.Get_unit(), unit);
  EXPECT_EQ(entry.Get_minus_err(), minus);
  EXPECT_EQ(entry.Get_plus_err(), plus);
}

TEST(SampleList, OfARefreshedTraceEntriesAreItsSamplesInItsUnit) {
  const std::vector<float> samples{1, -2, 3};
  SampleList list;
  EXPECT_EQ(list.Size(), 0u);
  list.Refresh(samples.size(), kListWatt);
  EXPECT_EQ(list.Size(), 3u);
  EXPECT_TRUE(list.IsUniform());
  for (std::size_t i = 0; i < samples.size(); ++i) ExpectEntry(list.At(i, samples.data()), samples[i], kListWatt, 0, 0);
}

TEST(SampleList, AFormHoldsForAllEntries) {
  const std::vector<float> samples{1, 2};
  SampleList list;
  list.Refresh(2, kListWatt);
  list.SetForm(SampleList::Sample(99, kListMilliwatt, -0.5f, 0.25f));
  EXPECT_TRUE(list.IsUniform());
  for (std::size_t i = 0; i < 2; ++i) ExpectEntry(list.At(i, samples.data()), samples[i], kListMilliwatt, -0.5f, 0.25f);
}

TEST(SampleList, APeakHeldAgainstAnotherUnitHasEntriesOfTwoForms) {
  const std::vector<float> samples{4, 5};
  SampleList list;
  list.Refresh(2, kListWatt);
  list.SetPeakHeld({4000, 5}, {1, 0}, SampleList::Sample(0, kListMilliwatt, -1, 1));
  EXPECT_FALSE(list.IsUniform());
  EXPECT_EQ(list.Size(), 2u);
  ExpectEntry(list.At(0, samples.data()), 4000, kListMilliwatt, -1, 1);
  ExpectEntry(list.At(1, samples.data()), 5, kListWatt, 0, 0);
}

TEST(SampleList, EntriesMayDepartFromTheirSamplesUntilTheNextFormOrRefresh) {
  const std::vector<float> samples{1, 2};
  SampleList list;
  list.Refresh(2, kListWatt);
  list.Objects(samples.data())[1] = SampleList::Sample(7, kListMilliwatt, 0, 0);
  EXPECT_FALSE(list.IsUniform());
  ExpectEntry(list.At(0, samples.data()), 1, kListWatt, 0, 0);
  ExpectEntry(list.At(1, samples.data()), 7, kListMilliwatt, 0, 0);
  ExpectEntry(list.Copies(samples.data()).at(1), 7, kListMilliwatt, 0, 0);
  EXPECT_THROW(list.At(2, samples.data()), std::out_of_range);

  list.SetForm(list.Form());
  EXPECT_TRUE(list.IsUniform());
  ExpectEntry(list.At(1, samples.data()), 2, kListWatt, 0, 0);

  list.Objects(samples.data());
  list.Refresh(1, kListMilliwatt);
  EXPECT_TRUE(list.IsUniform());
  ExpectEntry(list.At(0, samples.data()), 1, kListMilliwatt, 0, 0);
}

TEST(SampleList, AMalformedUnitIsRefusedOnceThereAreSamples) {
  constexpr Value::Units kGap{false, 0, {{{Value::U_Watt, 1}, {}, {Value::U_Second, 1}}}};
  SampleList list;
  EXPECT_NO_THROW(list.Refresh(0, kGap));
  EXPECT_THROW(list.Refresh(5, kGap), Value::OperationNotValid);
  EXPECT_EQ(list.Size(), 5u) << "the length of the trace holds all the same";
}

}  // namespace
}  // namespace Lumenar::Test
