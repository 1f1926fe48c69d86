// SPDX-License-Identifier: Apache-2.0
// The hardware enumeration as a process.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <fstream>
#include <future>
#include <vector>

#include "HwEnumerate.hh"
#include "platform/orb/ORB_wrapper.h"
#include "tests/support/IsolatedPlatform.h"

namespace Lumenar::Test {
namespace {

class HwEnumeration : public testing::Test {
 protected:
  HwEnumeration() : platform_({.topic_manager = false, .hw_enumeration = true, .transport = ""}) {
    platform_.UseInThisProcess();
    orb_ = std::make_unique<Corvanta::ORB_wrapper_base>(localargc, localargv);
    Resolve();
  }

  void Resolve() {
    CORBA::Object_var object = orb_->Resolve({"Lumenar", "local", "HWENUM_ABLE", "1"});
    service_ = Corvanta::HwEnumerate_Able::_narrow(object);
  }

  Corvanta::Progress_Interface_ptr Announce(const char* engine, CORBA::Long instance) {
    return service_->GetProgressInterface(engine, instance, 0);
  }

  IsolatedPlatform platform_;
  std::unique_ptr<Corvanta::ORB_wrapper_base> orb_;
  Corvanta::HwEnumerate_Able_var service_;
};

TEST_F(HwEnumeration, WritesOneLineForEachEvent) {
  Corvanta::Progress_Interface_var progress = Announce("math_factory.engine", 3);
  progress->SetProgress("12.5");
  progress->SetProgress("100");
  EXPECT_EQ(platform_.HwEnumeration().Out(),
            "hw_enumeration ready\n"
            "math_factory.engine instance 3: announced\n"
            "math_factory.engine instance 3: 12.5 %\n"
            "math_factory.engine instance 3: 100 %\n");
}

TEST_F(HwEnumeration, ListsTheEngines) {
  Corvanta::Progress_Interface_var first = Announce("b", 1);
  Corvanta::Progress_Interface_var second = Announce("a", 2);
  second->SetProgress("50");
  Corvanta::EngineProgressSeq_var engines = service_->Engines();
  ASSERT_EQ(engines->length(), 2u);
  EXPECT_STREQ(engines[0].engine, "a");
  EXPECT_EQ(engines[0].instance, 2);
  EXPECT_STREQ(engines[0].progress, "50");
  EXPECT_STREQ(engines[1].progress, "");
}

TEST_F(HwEnumeration, AnEngineThatAnnouncesItselfAgainReplacesItsEntry) {
  Corvanta::Progress_Interface_var first = Announce("a", 1);
  first->SetProgress("50");
  Corvanta::Progress_Interface_var second = Announce("a", 1);
  EXPECT_THROW(first->SetProgress("60"), CORBA::OBJECT_NOT_EXIST);
  second->SetProgress("70");
  Corvanta::EngineProgressSeq_var engines = service_->Engines();
  ASSERT_EQ(engines->length(), 1u);
  EXPECT_STREQ(engines[0].progress, "70");
}

TEST_F(HwEnumeration, OfAnnouncementsAtTheSameTimeOneStays) {
  constexpr int kThreads = 8, kAnnouncements = 50;
  std::vector<std::future<std::vector<Corvanta::Progress_Interface_var>>> announcing;
  for (int i = 0; i < kThreads; ++i) {
    announcing.push_back(std::async(std::launch::async, [&] {
      std::vector<Corvanta::Progress_Interface_var> given;
      while (given.size() < kAnnouncements) given.emplace_back(Announce("a", 1));
      return given;
    }));
  }
  int there = 0;
  for (auto& thread : announcing) {
    for (const auto& progress : thread.get()) there += progress->_non_existent() ? 0 : 1;
  }
  EXPECT_EQ(there, 1) << "the others are withdrawn";
}

TEST_F(HwEnumeration, RefusesTextsThatWouldSpoilTheLog) {
  EXPECT_THROW(Announce("", 1), CORBA::BAD_PARAM);
  EXPECT_THROW(Announce("a\nb", 1), CORBA::BAD_PARAM);
  Corvanta::Progress_Interface_var progress = Announce("a", 1);
  EXPECT_THROW(progress->SetProgress("\x1b[2J"), CORBA::BAD_PARAM);
}

TEST_F(HwEnumeration, KnowsItsEnginesAgainAfterItWasKilled) {
  Corvanta::Progress_Interface_var ready = Announce("math_factory.engine", 3);
  ready->SetProgress("100");
  Corvanta::Progress_Interface_var starting = Announce("an engine", -1);
  platform_.HwEnumeration().Signal(SIGKILL);
  platform_.HwEnumeration().WaitForExit();
  platform_.StartHwEnumeration();
  Resolve();
  Corvanta::EngineProgressSeq_var engines = service_->Engines();
  ASSERT_EQ(engines->length(), 2u);
  EXPECT_STREQ(engines[0].engine, "an engine");
  EXPECT_EQ(engines[0].instance, -1);
  EXPECT_STREQ(engines[0].progress, "");
  EXPECT_STREQ(engines[1].progress, "100");
  Corvanta::Progress_Interface_var anew = Announce("math_factory.engine", 3);
  anew->SetProgress("50");
  engines = service_->Engines();
  EXPECT_STREQ(engines[1].progress, "50");
}

TEST_F(HwEnumeration, ADamagedStateFileCostsWhatIsDamagedOnly) {
  const auto state = platform_.Directory() / "damaged";
  std::ofstream(state) << "hw_enumeration engines 1\nx\t1\ta\n7\t100\tb\n7\n7\t\t\n8\t\x1b\tc\n4294967297\t100\td\n";
  platform_.HwEnumeration().Signal(SIGTERM);
  platform_.HwEnumeration().WaitForExit();
  const auto service = platform_.Start("hw_enumeration", {"--state", state.string()});
  ASSERT_TRUE(service->WaitForLine("hw_enumeration ready"));
  EXPECT_THAT(service->Error(), testing::MatchesRegex("hw_enumeration: state file .*/damaged:2: damaged\n"));
  Resolve();
  Corvanta::EngineProgressSeq_var engines = service_->Engines();
  ASSERT_EQ(engines->length(), 1u);
  EXPECT_STREQ(engines[0].engine, "b");
}

TEST_F(HwEnumeration, AStateFileThatCannotBeWrittenIsNotedOnce) {
  platform_.HwEnumeration().Signal(SIGTERM);
  platform_.HwEnumeration().WaitForExit();
  const auto service = platform_.Start("hw_enumeration", {"--state", (platform_.Directory() / "none" / "x").string()});
  ASSERT_TRUE(service->WaitForLine("hw_enumeration ready"));
  Resolve();
  Corvanta::Progress_Interface_var progress = Announce("a", 1);
  progress->SetProgress("100");
  EXPECT_THAT(service->Error(), testing::MatchesRegex("hw_enumeration: state file not written: [^\n]*\n"));
}

TEST_F(HwEnumeration, SigtermEndsIt) {
  platform_.HwEnumeration().Signal(SIGTERM);
  EXPECT_EQ(platform_.HwEnumeration().WaitForExit(), 0);
  EXPECT_EQ(platform_.HwEnumeration().Error(), "");
}

}  // namespace
}  // namespace Lumenar::Test
