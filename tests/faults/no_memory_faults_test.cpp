// SPDX-License-Identifier: Apache-2.0
// No memory, at each place in turn where the engine's code asks for some.
#include <fmt/format.h>
#include <gmock/gmock.h>

#include <functional>

#include "Common_Math/src/Builders.h"
#include "platform/wire/sample_any.h"
#include "tests/faults/AllocationFault.h"
#include "tests/faults/FaultCase.h"
#include "tests/support/MathFixture.h"

namespace Lumenar::Test {
namespace {

using testing::Each;
using testing::IsEmpty;
using testing::SizeIs;

constexpr std::size_t kMostAllocations = 2000;  // far above what any step needs

BT_DATA Level(float dBm) { return TraceOf(std::vector<float>(67, dBm), kdBm); }

/// Runs `step` with its first, second, ... allocation failing, and `check` after each, until a run needs none of them.
/// Gives the number of failures.
std::size_t FailEachAllocation(const std::function<void()>& step, const std::function<void(std::size_t)>& check) {
  for (std::size_t which = 1; which <= kMostAllocations; ++which) {
    bool struck = false;
    {
      const AllocationFault fault(which);
      try {
        step();
      } catch (const std::bad_alloc&) {
      } catch (const CORBA::SystemException&) {}
      struck = fault.HasStruck();
    }
    if (!struck) return which - 1;
    check(which);
    if (testing::Test::HasFatalFailure()) return which;
  }
  ADD_FAILURE() << "no end of allocations";
  return kMostAllocations;
}

class NoMemoryFaults : public MathFixture, public testing::WithParamInterface<int> {
 protected:
  /// Everything is done once before: at first use the ORB's generated code makes its nil references, under a lock that
  /// it keeps for good when there is no memory for one.
  NoMemoryFaults() {
    const Corvanta::MathFactory::Math_var math = Create(GetParam(), InputsOf(GetParam()));
    Deliver(first_, Level(0));
    ResultOf(GetParam(), math);
    Reset(GetParam(), math);
    Factory().DeleteMath(math->GetId());
  }

  std::vector<Corvanta::EngineReadingBase_ptr> InputsOf(int type) {
    switch (type) {
      case Average:
      case Peak: return {first_};
      case CumulativeAdd: return {first_, start_, stop_};
      default: return {first_, second_};
    }
  }

  /// RESULT as text, trace or scalar.
  static std::string ResultOf(int type, Corvanta::MathFactory::Math_ptr math) {
    if (type == CumulativeAdd) return fmt::format("{}", ScalarResult(math).val);
    return fmt::format("{}", fmt::join(SamplesOf(TraceResult(math)), " "));
  }

  static std::string Name() { return Operations()[GetParam()].name; }

  void DeleteAll() {
    const Corvanta::MathFactory::IdSeq_var ids = Factory().ListMath();
    for (CORBA::ULong i = 0; i < ids->length(); ++i) Factory().DeleteMath(ids.in()[i]);
  }

  static void ExpectNoObject() {
    for (const char* name : {"MathBase", "DDS_Subscriber", "SubscriberServant"}) {
      EXPECT_TRUE(WaitUntil([name] { return LiveInstances(name) == 0; }, std::chrono::seconds(2))) << name;
    }
  }

  static void Reset(int type, Corvanta::MathFactory::Math_ptr math) {
    if (type == Average) {
      const Corvanta::MathFactory::Average_var average = Corvanta::MathFactory::Average::_narrow(math);
      Corvanta::EngineAttribVoid_var(average->AttrReset())->Set();
    } else if (type == Peak) {
      const Corvanta::MathFactory::Peak_var peak = Corvanta::MathFactory::Peak::_narrow(math);
      Corvanta::EngineAttribVoid_var(peak->AttrReset())->Set();
    }
  }

  TraceInput first_{namer_, registration_, Level(1)};
  TraceInput second_{namer_, registration_, Level(-3)};
  LongInput start_{namer_, registration_, 0};
  LongInput stop_{namer_, registration_, 66};
};

TEST_P(NoMemoryFaults, Update) {
  DescribeFault("no memory: update " + Name(), "each allocation of an update fails in turn",
                "the caller gets an exception or the result; the object takes the next sample");
  const std::size_t before = Manager().Subscribed().size();
  const Corvanta::MathFactory::Math_var math = Create(GetParam(), InputsOf(GetParam()));
  const Corvanta::DDS_Sub_var subscriber = Manager().Subscriber(Manager().Subscribed()[before].handle);
  CORBA::Any sample;
  Corvanta::RecordToAny(Corvanta::ViewOf(Level(2)), sample);
  const std::size_t failures = FailEachAllocation(
      [&] { subscriber->DDS_Callback(sample); },
      [&](std::size_t which) {
        if (GetParam() != CumulativeAdd) {
          const std::vector<float> samples = SamplesOf(TraceResult(math));
          EXPECT_THAT(samples, SizeIs(67)) << which;
          EXPECT_THAT(samples, Each(samples.front())) << "a result is whole, after failure " << which;
        }
        Reset(GetParam(), math);
        const float level = static_cast<float>(which % 50);
        first_ = Level(level);
        Deliver(first_, Level(level));
        const Corvanta::MathFactory::Math_var twin = Create(GetParam(), InputsOf(GetParam()));
        EXPECT_EQ(ResultOf(GetParam(), math), ResultOf(GetParam(), twin)) << "after failure " << which;
        Factory().DeleteMath(twin->GetId());
      });
  EXPECT_GE(failures, 2u);
  ReportFigure(fmt::format("{} allocations", failures));
}

TEST_P(NoMemoryFaults, Creation) {
  DescribeFault("no memory: create " + Name(), "each allocation of CreateMath fails in turn",
                "the caller gets an exception, nothing is left of the object");
  const std::size_t items = registration_.Entries().size();
  const Corvanta::MathFactory::ReadingAttribSeq inputs = Inputs(InputsOf(GetParam()));
  Factory().TypeCallback(GetParam());
  const auto create = [&] { const Corvanta::MathFactory::Math_var math = Factory().CreateMath(inputs); };
  const std::size_t failures = FailEachAllocation(create, [&](std::size_t which) {
    DeleteAll();  // what failed may be a part that a creation can do without
    ExpectNoObject();
    EXPECT_THAT(registration_.Entries(), SizeIs(items));
    EXPECT_THAT(StandingTopics(), IsEmpty());
    if (HasFailure()) FAIL() << "after failure " << which;
  });
  EXPECT_GT(failures, 10u);
  EXPECT_EQ(Corvanta::MathFactory::IdSeq_var(Factory().ListMath())->length(), 1u);
  ReportFigure(fmt::format("{} allocations", failures));
}

TEST_P(NoMemoryFaults, Deletion) {
  DescribeFault("no memory: delete " + Name(), "each allocation of DeleteMath fails in turn",
                "the object goes all the same");
  const auto create = [&] {
    const Corvanta::MathFactory::Math_var math = Create(GetParam(), InputsOf(GetParam()));
    return math->GetId();
  };
  CORBA::Long id = create();
  const auto erase = [&] { EXPECT_NO_THROW(Factory().DeleteMath(id)); };
  const std::size_t failures = FailEachAllocation(erase, [&](std::size_t which) {
    // Its subscription may stand on: the manager lets go of a subscriber that is no more.
    ExpectNoObject();
    if (HasFailure()) FAIL() << "after failure " << which;
    id = create();
  });
  ExpectNoObject();
  ReportFigure(fmt::format("{} allocations", failures));
}

INSTANTIATE_TEST_SUITE_P(Operations, NoMemoryFaults, testing::Range(0, static_cast<int>(Operations().size())));

}  // namespace
}  // namespace Lumenar::Test
