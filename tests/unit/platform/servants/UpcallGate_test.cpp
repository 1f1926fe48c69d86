// SPDX-License-Identifier: Apache-2.0
#include "platform/servants/servants.h"

#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <memory>
#include <thread>
#include <vector>

namespace Corvanta {
namespace {

/// A counted object that tells when it dies.
class Object final : public CountedServant {
 public:
  explicit Object(std::atomic<int>& deaths) : deaths_(deaths) {}

 private:
  ~Object() override { ++deaths_; }
  std::atomic<int>& deaths_;
};

class UpcallGate_ : public testing::Test {
 protected:
  ~UpcallGate_() override {
    if (owned_) object_->_remove_ref();
  }
  void GiveUp() {
    owned_ = false;
    object_->_remove_ref();
  }

  std::atomic<int> deaths_{0};
  Object* object_ = new Object(deaths_);
  bool owned_ = true;
  boost::shared_ptr<UpcallGate> gate_ = UpcallGate::Create(object_);
};

TEST_F(UpcallGate_, CallersWaitWhileTheObjectIsBuilt) {
  std::atomic<bool> built{false};
  std::vector<std::future<bool>> callers;
  for (int i = 0; i < 3; ++i)
    callers.push_back(std::async(std::launch::async, [&] {
      UpcallGate::Pass pass(*gate_);
      return pass && built;
    }));
  std::this_thread::yield();
  built = true;
  gate_->Open();
  for (auto& caller : callers) EXPECT_TRUE(caller.get()) << "came in before the object was built";
}

TEST_F(UpcallGate_, WhoMayNotWaitIsToldSo) {
  bool came_in = false;
  const auto guarded = gate_->Guard([&came_in] { came_in = true; });
  {
    UpcallGate::WithoutWaiting without_waiting;
    EXPECT_THROW(guarded(), UpcallGate::WouldWait);
    EXPECT_FALSE(came_in);
    gate_->Open();
    guarded();
    EXPECT_TRUE(came_in) << "there is nothing to wait for";
    boost::shared_ptr<UpcallGate> next = UpcallGate::Create(object_);
    auto opener = std::async(std::launch::async, [&] { next->Open(); });
    EXPECT_TRUE(bool(UpcallGate::Pass(*next))) << "the next gate may be waited at";
  }
  boost::shared_ptr<UpcallGate> other = UpcallGate::Create(object_);
  auto opener = std::async(std::launch::async, [&] { other->Open(); });
  EXPECT_TRUE(bool(UpcallGate::Pass(*other))) << "waits again";
}

TEST_F(UpcallGate_, CallersThatWaitAreSentAwayWhenTheBuildingFails) {
  auto caller = std::async(std::launch::async, [&] { return bool(UpcallGate::Pass(*gate_)); });
  EXPECT_EQ(caller.wait_for(std::chrono::milliseconds(50)), std::future_status::timeout) << "it waits";
  gate_->Close();
  EXPECT_FALSE(caller.get());
}

TEST_F(UpcallGate_, OpeningAClosedGateDoesNothing) {
  gate_->Close();
  gate_->Open();
  EXPECT_FALSE(UpcallGate::Pass(*gate_));
}

TEST_F(UpcallGate_, ACallerInsideKeepsTheObjectAndClosingDoesNotWaitForIt) {
  gate_->Open();
  {
    UpcallGate::Pass pass(*gate_);
    ASSERT_TRUE(pass);
    gate_->Close();
    GiveUp();
    EXPECT_EQ(deaths_, 0);
  }
  EXPECT_EQ(deaths_, 1);
}

TEST_F(UpcallGate_, TheLastOfSeveralCallersLetsTheObjectGo) {
  gate_->Open();
  auto first = std::make_unique<UpcallGate::Pass>(*gate_);
  auto second = std::make_unique<UpcallGate::Pass>(*gate_);
  gate_->Close();
  gate_->Close();
  GiveUp();
  first.reset();
  EXPECT_EQ(deaths_, 0) << "one is inside";
  second.reset();
  EXPECT_EQ(deaths_, 1);
}

TEST_F(UpcallGate_, AnOpenGateHoldsTheObjectUntilItGoes) {
  gate_->Open();
  gate_->Open();
  GiveUp();
  EXPECT_EQ(deaths_, 0);
  gate_.reset();
  EXPECT_EQ(deaths_, 1);
}

TEST_F(UpcallGate_, TheGateOutlivesItsObject) {
  gate_->Open();
  gate_->Close();
  GiveUp();
  EXPECT_EQ(deaths_, 1);
  EXPECT_FALSE(UpcallGate::Pass(*gate_));
}

TEST_F(UpcallGate_, OperationsOfAServantGoOnUntilItIsClosed) {
  object_->RequireOpen();
  object_->Close();
  EXPECT_TRUE(object_->IsClosed());
  EXPECT_THROW(object_->RequireOpen(), CORBA::OBJECT_NOT_EXIST);
}

TEST_F(UpcallGate_, AServantThatIsWithdrawnStaysClosed) {
  object_->Withdraw();
  object_->Close();
  object_->Withdraw();
  EXPECT_THROW(object_->RequireOpen(), CORBA::OBJECT_NOT_EXIST);
}

TEST_F(UpcallGate_, AGuardedCallbackRunsOnlyWhileTheGateIsOpen) {
  int sum = 0;
  const auto add = gate_->Guard([&sum](int a, const int& b) { sum += a * b; });
  gate_->Open();
  add(2, 3);
  EXPECT_EQ(sum, 6);
  gate_->Close();
  add(2, 3);
  EXPECT_EQ(sum, 6);
}

TEST_F(UpcallGate_, WhoClosesFromInsideFindsTheObjectAliveToTheEnd) {
  const auto close = gate_->Guard([this] {
    gate_->Close();
    GiveUp();
    EXPECT_EQ(deaths_, 0);
  });
  gate_->Open();
  close();
  EXPECT_EQ(deaths_, 1);
}

TEST_F(UpcallGate_, NobodyIsInsideADeadObject) {
  std::atomic<long> entries{0};
  std::atomic<bool> inside_dead{false};
  std::vector<std::thread> callers;
  for (int i = 0; i < 4; ++i)
    callers.emplace_back([&] {
      for (;;) {
        UpcallGate::Pass pass(*gate_);
        if (!pass) return;
        ++entries;
        if (deaths_ != 0) inside_dead = true;
      }
    });
  gate_->Open();
  while (entries < 1000) std::this_thread::yield();
  gate_->Close();
  GiveUp();
  for (std::thread& caller : callers) caller.join();
  EXPECT_FALSE(inside_dead);
  EXPECT_EQ(deaths_, 1);
}

}  // namespace
}  // namespace Corvanta
