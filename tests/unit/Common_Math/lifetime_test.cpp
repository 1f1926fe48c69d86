// SPDX-License-Identifier: Apache-2.0
// Creation, deletion, deliveries and attribute calls in any interleaving.
#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "platform/wire/sample_any.h"
#include "tests/support/MathFixture.h"

namespace Lumenar::Test {
namespace {

class Lifetime : public MathFixture {};

TEST_F(Lifetime, DeliveriesAndAttributeCallsDuringCreationAndDeletionMeetNoFreedMemory) {
  TraceInput trace(namer_, registration_, TraceOf(std::vector<float>(67, 2), kdBm));
  std::atomic<bool> done{false};
  const auto deliver = [&] {
    while (!done) {
      try {
        Deliver(trace, TraceOf(std::vector<float>(67, 3), kdBm));
      } catch (const CORBA::SystemException&) {  // a subscriber that has just gone
      }
    }
  };
  const auto browse = [&] {
    while (!done) {
      const Corvanta::MathFactory::IdSeq_var ids = Factory().ListMath();
      for (CORBA::ULong i = 0; i < ids->length(); ++i) {
        const Corvanta::MathFactory::Math_var math = Factory().GetMath(ids.in()[i]);
        try {
          const Corvanta::MathFactory::Average_var average = Corvanta::MathFactory::Average::_narrow(math);
          if (CORBA::is_nil(average)) continue;
          const Corvanta::EngineAttribLong_var size = average->AttrSize();
          size->Set(3);
          const Corvanta::EngineAttribVoid_var reset = average->AttrReset();
          reset->Set();
        } catch (const CORBA::SystemException&) {  // deleted meanwhile
        }
      }
    }
  };
  std::thread deliverer(deliver);
  std::thread browser(browse);
  for (int i = 0; i < 60; ++i) {
    const int type = i % 2 == 0 ? Average : Peak;
    const Corvanta::MathFactory::Math_var math = Create(type, {trace});
    Factory().DeleteMath(math->GetId());
  }
  done = true;
  deliverer.join();
  browser.join();
  EXPECT_TRUE(StandingTopics().empty());
  EXPECT_TRUE(WaitUntil([] { return LiveInstances("MathBase") == 0; }));
}

TEST_F(Lifetime, ADeliveryDuringConstructionWaitsForItsEnd) {
  ScalarInput input(namer_, registration_, ScalarOf(1));
  CORBA::Any sample;
  Corvanta::RecordToAny(Corvanta::ViewOf(ScalarOf(5)), sample);
  Factory().TypeCallback(Peak);
  const unsigned before = Manager().PublicationsBegun();
  Manager().HoldPublications();  // the first result hangs in its publication: construction does not end
  std::thread creator([&] { const Corvanta::MathFactory::Math_var math = Factory().CreateMath(Inputs({input})); });
  ASSERT_TRUE(WaitUntil([&] { return Manager().PublicationsBegun() > before; }));
  std::atomic<bool> delivered{false};
  std::thread deliverer([&] {
    DeliverAny(input.GetDDS_Topic(), sample);
    delivered = true;
  });
  EXPECT_FALSE(WaitUntil([&] { return delivered.load(); }, std::chrono::milliseconds(50)));
  Manager().LetPublicationsGo();
  creator.join();
  deliverer.join();
  const Corvanta::MathFactory::IdSeq_var ids = Factory().ListMath();
  EXPECT_EQ(ScalarResult(Corvanta::MathFactory::Math_var(Factory().GetMath(ids.in()[0]))).val, 5);
}

TEST_F(Lifetime, DeletionDoesNotWaitForADeliveryInFlight) {
  ScalarInput input(namer_, registration_, ScalarOf(1));
  const Corvanta::MathFactory::Math_var math = Create(Peak, {input});
  const unsigned before = Manager().PublicationsBegun();
  Manager().HoldPublications();
  std::thread deliverer([&] { Deliver(input, ScalarOf(5)); });
  ASSERT_TRUE(WaitUntil([&] { return Manager().PublicationsBegun() > before; }));
  std::thread deleter([&] { Factory().DeleteMath(math->GetId()); });
  // The fake manager's lock is free while a publication waits, so that the subscription can end.
  deleter.join();
  EXPECT_EQ(LiveInstances("MathBase"), 1) << "the delivery inside holds it alive";
  Manager().LetPublicationsGo();
  deliverer.join();
  EXPECT_TRUE(WaitUntil([] { return LiveInstances("MathBase") == 0; }));
}

}  // namespace
}  // namespace Lumenar::Test
