// SPDX-License-Identifier: Apache-2.0
#include "platform/components/readings/PublishedValue.h"

#include <gtest/gtest.h>

#include <boost/make_shared.hpp>
#include <cstdlib>
#include <new>

namespace {

constexpr std::size_t kLarge = 4096;  // bytes: a buffer of samples, and nothing else here
std::atomic<int> large_allocations{0};

}  // namespace

// The sequences of the ORB take their buffers with new[].
void* operator new[](std::size_t bytes) {
  if (bytes >= kLarge) ++large_allocations;
  void* memory = std::malloc(bytes);
  if (memory == nullptr) throw std::bad_alloc();
  return memory;
}

void operator delete[](void* memory) noexcept { std::free(memory); }
void operator delete[](void* memory, std::size_t) noexcept { std::free(memory); }

namespace Corvanta {
namespace {

using BASIC_TRACE::BT_DATA;

constexpr CORBA::ULong kPoints = 10001;

BT_DATA TraceOf(CORBA::ULong points, float sample) {
  BT_DATA trace{};
  trace.samples.length(points);
  for (CORBA::ULong i = 0; i < points; ++i) trace.samples[i] = sample;
  return trace;
}

// No ORB lives in this process: a publication is a lost sample.

TEST(PublishedValue, WithoutAnOrbTheValueIsStoredAndTheSampleLost) {
  const auto lost = DdsBaseAccess::Instance().LostSamples();
  auto value = boost::make_shared<PublishedValue<int>>("T/1/A", 3);
  EXPECT_EQ(value->Get(), 3);
  value->Assign(4);
  EXPECT_EQ(value->Get(), 4);
  EXPECT_EQ(DdsBaseAccess::Instance().LostSamples(), lost + 1);
}

TEST(PublishedValue, EquallyLongTracesReuseTheBuffer) {
  auto value = boost::make_shared<PublishedValue<BT_DATA>>("T/1/A", TraceOf(kPoints, 0.0F));
  const BT_DATA sample = TraceOf(kPoints, 1.0F);
  const int before = large_allocations;
  for (int i = 0; i < 10; ++i) value->Assign(sample);
  EXPECT_EQ(large_allocations, before);
  EXPECT_EQ(value->Get().samples[kPoints - 1], 1.0F);
}

TEST(PublishedValue, ATraceThatIsGivenUpIsNotCopiedAndComesBackWithTheFormerBuffer) {
  auto value = boost::make_shared<PublishedValue<BT_DATA>>("T/1/A", TraceOf(kPoints, 0.0F));
  BT_DATA sample = TraceOf(kPoints, 1.0F);
  const float* const own = sample.samples.get_buffer();
  const int before = large_allocations;
  value->Assign(std::move(sample));
  EXPECT_NE(sample.samples.get_buffer(), own);
  value->Assign(std::move(sample));
  EXPECT_EQ(sample.samples.get_buffer(), own);
  EXPECT_EQ(large_allocations, before);
  EXPECT_EQ(value->Get().samples[kPoints - 1], 0.0F) << "what the value began with";
}

TEST(PublishedValue, ATraceOfAnotherLengthIsStoredWhole) {
  auto value = boost::make_shared<PublishedValue<BT_DATA>>("T/1/A", TraceOf(3, 0.0F));
  for (const CORBA::ULong points : {5U, 2U, 0U, 4U}) {
    value->Assign(TraceOf(points, 2.0F));
    const BT_DATA stored = value->Get();
    ASSERT_EQ(stored.samples.length(), points);
    for (CORBA::ULong i = 0; i < points; ++i) EXPECT_EQ(stored.samples[i], 2.0F);
  }
}

TEST(PublishedValue, AClosedValueSendsNothing) {
  const auto lost = DdsBaseAccess::Instance().LostSamples();
  auto value = boost::make_shared<PublishedValue<bool>>("T/1/A", false);
  value->Close();
  value->Assign(true);
  EXPECT_TRUE(value->Get());
  EXPECT_EQ(DdsBaseAccess::Instance().LostSamples(), lost);
}

TEST(PublishedValue, AHeldAssignmentIsSentOnceAtTheEnd) {
  const auto lost = DdsBaseAccess::Instance().LostSamples();
  auto value = boost::make_shared<PublishedValue<int>>("T/1/A", 0);
  {
    Lumenar::HoldReadings::Block hold;
    for (int i = 1; i <= 5; ++i) value->Assign(i);
    EXPECT_EQ(DdsBaseAccess::Instance().LostSamples(), lost);
  }
  EXPECT_EQ(DdsBaseAccess::Instance().LostSamples(), lost + 1);
  EXPECT_EQ(value->Get(), 5);
}

/// The others of a hold that has ended may still wait for their turn: what is assigned then waits for nothing.
TEST(PublishedValue, EachAssignmentAfterTheEndIsSentThoughTheHeldOneStillWaits) {
  const auto lost = DdsBaseAccess::Instance().LostSamples();
  auto value = boost::make_shared<PublishedValue<int>>("T/1/A", 0);
  {
    Lumenar::HoldReadings::Block hold;
    Lumenar::HoldReadings::CreateInstance()->Defer([&] {
      for (const int number : {2, 3}) value->Assign(number);
      EXPECT_EQ(DdsBaseAccess::Instance().LostSamples(), lost + 2);
    });
    value->Assign(1);
  }
  EXPECT_EQ(DdsBaseAccess::Instance().LostSamples(), lost + 2) << "the held one went out with the first of them";
}

}  // namespace
}  // namespace Corvanta
