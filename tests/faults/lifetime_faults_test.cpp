// SPDX-License-Identifier: Apache-2.0
// Deletion against deliveries, and exceptions inside an operation: in this process, where a sanitizer sees both sides.
#include <fmt/format.h>
#include <gmock/gmock.h>

#include <atomic>
#include <new>
#include <thread>

#include "Common_Math/src/MathBaseValueDouble.h"
#include "Common_Math/src/MathValueValueDouble.h"
#include "Common_Math/src/SimpleOp2.h"
#include "platform/wire/sample_any.h"
#include "tests/faults/FaultCase.h"
#include "tests/support/MathFixture.h"

namespace Lumenar::Test {
namespace {

using Clock = std::chrono::steady_clock;
using testing::ElementsAre;

double MillisecondsSince(Clock::time_point began) {
  return std::chrono::duration<double, std::milli>(Clock::now() - began).count();
}

class LifetimeFaults : public MathFixture {
 protected:
  /// The subscriber of the one subscription made since `before` of them stood.
  Corvanta::DDS_Sub_var NewestSubscriber() { return Manager().Subscriber(Manager().Subscribed().back().handle); }

  static CORBA::Any AnyOf(double value) {
    CORBA::Any any;
    Corvanta::RecordToAny(Corvanta::ViewOf(ScalarOf(value)), any);
    return any;
  }
};

TEST_F(LifetimeFaults, DeleteInFlight) {
  DescribeFault("delete in flight", "DeleteMath while a delivery sleeps 1.5 s with 3 queued behind it",
                "DeleteMath answers in < 10 ms, nothing is published after it, the memory goes once the delivery ends");
  ScalarInput input(namer_, registration_, ScalarOf(1));
  const Corvanta::MathFactory::Math_var math = Create(Peak, {input});
  const std::string topic = ResultTopic(math);
  const CORBA::Long id = math->GetId();
  const unsigned before = Manager().PublicationsBegun();
  Manager().HoldPublications();  // a delivery sleeps in the publication of its result
  const auto slept_from = Clock::now();
  const Corvanta::DDS_Sub_var subscriber = NewestSubscriber();
  std::atomic<int> entered{0};
  std::vector<std::thread> deliveries;
  for (int i = 0; i < 4; ++i) {
    deliveries.emplace_back([&, i] {
      ++entered;
      subscriber->DDS_Callback(AnyOf(5 + i));
    });
  }
  ASSERT_TRUE(WaitUntil([&] { return Manager().PublicationsBegun() > before && entered == 4; }));

  const auto began = Clock::now();
  Factory().DeleteMath(id);
  const double took = MillisecondsSince(began);
  EXPECT_LT(took, 10);
  ReportFigure(fmt::format("DeleteMath answered in {:.2f} ms", took));
  EXPECT_EQ(LiveInstances("MathBase"), 1) << "the delivery inside holds it alive";

  EXPECT_TRUE(WaitUntil([&] { return MillisecondsSince(slept_from) > 1500; })) << "the fault's length";
  EXPECT_EQ(Manager().PublicationsBegun(), before + 1) << "only the one that was under way";
  Manager().LetPublicationsGo();
  for (std::thread& delivery : deliveries) delivery.join();
  EXPECT_TRUE(WaitUntil([] { return LiveInstances("MathBase") == 0; }));
  EXPECT_EQ(Manager().PublicationsBegun(), before + 1) << "those queued behind it publish nothing";
  const unsigned after = Manager().PublicationsBegun();
  try {
    subscriber->DDS_Callback(AnyOf(9));
  } catch (const CORBA::OBJECT_NOT_EXIST&) {}
  EXPECT_EQ(Manager().PublicationsBegun(), after);
}

TEST_F(LifetimeFaults, EndlessOverlap) {
  DescribeFault("endless overlap", "3 callers that deliver without a gap while the object is deleted",
                "the deleted object does no work any more; the callers' deliveries end within 1 s");
  ScalarInput input(namer_, registration_, ScalarOf(1));
  const Corvanta::MathFactory::Math_var math = Create(Peak, {input});
  const Corvanta::DDS_Sub_var subscriber = NewestSubscriber();
  std::atomic<bool> done{false};
  std::atomic<long> delivered{0};
  std::atomic<long long> slowest_us{0};
  std::vector<std::thread> callers;
  for (int i = 0; i < 3; ++i) {
    callers.emplace_back([&] {
      const CORBA::Any sample = AnyOf(5);
      while (!done) {
        const auto began = Clock::now();
        try {
          subscriber->DDS_Callback(sample);
        } catch (const CORBA::OBJECT_NOT_EXIST&) {}
        ++delivered;
        const auto took = static_cast<long long>(MillisecondsSince(began) * 1000);
        long long slowest = slowest_us;
        while (took > slowest && !slowest_us.compare_exchange_weak(slowest, took)) {}
      }
    });
  }
  ASSERT_TRUE(WaitUntil([&] { return delivered > 300; }));
  Factory().DeleteMath(math->GetId());
  ASSERT_TRUE(WaitUntil([] { return LiveInstances("MathBase") == 0; }, std::chrono::seconds(1)))
      << "those inside at the deletion have left, though others come all the time";
  const unsigned published = Manager().PublicationsBegun();
  const long so_far = delivered;
  ASSERT_TRUE(WaitUntil([&] { return delivered > so_far + ByLength(1000, 100000); }));
  done = true;
  for (std::thread& caller : callers) caller.join();
  EXPECT_EQ(Manager().PublicationsBegun(), published);
  EXPECT_LT(slowest_us, 1000000);
  ReportFigure(fmt::format("slowest delivery {:.1f} ms", static_cast<double>(slowest_us) / 1000));
}

/// What a failing operation throws, chosen by the first input's sample.
MathValue<Scalar> Failing(const MathValue<Scalar>& first, const MathValue<Scalar>& second) {
  switch (static_cast<int>(first.ToRecord().val)) {
    case 1: throw std::runtime_error("no result");
    case 2: throw CORBA::NO_RESOURCES(0, CORBA::COMPLETED_NO);
    case 3: throw 3;
    case 4: throw std::bad_alloc();
    default: return first - second;
  }
}

TEST_F(LifetimeFaults, ThrowingOperation) {
  DescribeFault("throwing operation", "std, CORBA and integer exceptions and bad_alloc inside an update",
                "the caller gets the exception, the object takes the next sample, creation says why it failed");
  ScalarInput first(namer_, registration_, ScalarOf(10));
  ScalarInput second(namer_, registration_, ScalarOf(4));
  using Operation = SimpleOp2<Scalar, Scalar, Scalar>;
  constexpr TwoInputRule kRule{.linear_operands = true,
                               .is_silent = [](const Value::Value_exception&) noexcept { return false; }};
  const auto object = MathBase::Own(new Operation(namer_, registration_, "Subtract", Failing, first, second, kRule));
  object->Activate();
  const auto math = Corvanta::MathFactory::Math_var(object->Reference());
  EXPECT_EQ(ScalarResult(math).val, 6);
  for (int failure = 1; failure <= 4; ++failure) {
    EXPECT_ANY_THROW(Deliver(first, ScalarOf(failure))) << failure;
    EXPECT_EQ(ScalarResult(math).val, 5 + failure) << "the last good result stays";
    Deliver(first, ScalarOf(10 + failure));
    EXPECT_EQ(ScalarResult(math).val, 6 + failure) << "no lock was left behind";
  }
  const unsigned live = static_cast<unsigned>(LiveInstances("MathBase"));
  for (int failure = 1; failure <= 4; ++failure) {
    first = ScalarOf(failure);
    EXPECT_ANY_THROW(new Operation(namer_, registration_, "Subtract", Failing, first, second, kRule)) << failure;
    EXPECT_EQ(LiveInstances("MathBase"), static_cast<long>(live)) << "nothing is left of a failed construction";
  }
  EXPECT_THAT(StandingTopics(), testing::SizeIs(2));
}

}  // namespace
}  // namespace Lumenar::Test
