// SPDX-License-Identifier: Apache-2.0
#include "instruments/common/Instrument.h"

#include <gtest/gtest.h>

#include <atomic>
#include <string>

#include "platform/components/ItemNamer.h"
#include "tests/support/IsolatedPlatform.h"
#include "tests/support/TopicsFixture.h"

namespace Lumenar::Instruments {
namespace {

using Lumenar::Test::WaitUntil;

/// Writes down what is asked of it.
struct NotedPart {
  void Start() { notes += "+" + name; }
  void Stop() noexcept { notes += "-" + name; }

  std::string name;
  std::string& notes;
};

class InstrumentOfParts : public Instrument {
 public:
  void Offer(const Place&) override {
    RunPart(first_);
    RunPart(second_);
    RunAtRate(1000, [this] { ++runs; });
  }

  std::string notes;
  std::atomic<int> runs{0};

 private:
  NotedPart first_{"a", notes};
  NotedPart second_{"b", notes};
};

class InstrumentTest : public Lumenar::Test::TopicsFixture {
 protected:
  InstrumentTest() { instrument_.Offer({namer_, registration_}); }
  ~InstrumentTest() override { instrument_.Stop(); }

  Corvanta::ItemNamer namer_{"PARTS/1"};
  InstrumentOfParts instrument_;
};

TEST_F(InstrumentTest, PartsStartInTheirOrderAndStopTheLastFirst) {
  EXPECT_EQ(instrument_.notes, "");
  instrument_.Start();
  EXPECT_EQ(instrument_.notes, "+a+b");
  instrument_.Stop();
  EXPECT_EQ(instrument_.notes, "+a+b-b-a");
}

TEST_F(InstrumentTest, ATaskRunsBetweenStartAndStop) {
  EXPECT_EQ(instrument_.runs, 0);
  instrument_.Start();
  EXPECT_TRUE(WaitUntil([&] { return instrument_.runs >= 3; }));
  instrument_.Stop();
  const int stopped_at = instrument_.runs;
  EXPECT_FALSE(WaitUntil([&] { return instrument_.runs != stopped_at; }, std::chrono::milliseconds(20)));
}

TEST_F(InstrumentTest, AfterStopNothingStarts) {
  instrument_.Stop();
  instrument_.Start();
  EXPECT_FALSE(WaitUntil([&] { return instrument_.runs != 0; }, std::chrono::milliseconds(20)));
}

}  // namespace
}  // namespace Lumenar::Instruments
