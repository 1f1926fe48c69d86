// SPDX-License-Identifier: Apache-2.0
// The start-up object in the test's process: handshake, progress, teardown.
#include <gmock/gmock.h>

#include <chrono>
#include <csignal>

#include "Common_Math/src/MathInit.h"
#include "MathFactory.hh"
#include "tests/support/TopicsFixture.h"
#include "tests/support/trace_samples.h"

namespace Lumenar::Test {
namespace {

using Corvanta::ORB_wrapper;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr const char* kResolving = "MathInit::Start resolving hw inteface\n";
constexpr const char* kNarrowFailed = "Math engine : Hw enum interface narrow failed.\n";
constexpr const char* kIsNull = "Math engine : Hw enum interface hwenum_ptr is null.\n";

/// Hardware enumeration and progress in one, that keep what they are told.
class FakeProgress : public POA_Corvanta::Progress_Interface {
 public:
  void SetProgress(const char* progress) override { told.emplace_back(progress); }
  std::vector<std::string> told;
};

class FakeEnumeration : public POA_Corvanta::HwEnumerate_Able {
 public:
  explicit FakeEnumeration(FakeProgress& progress) : progress_(progress) {}
  Corvanta::Progress_Interface_ptr GetProgressInterface(const char* engine, CORBA::Long instance,
                                                        CORBA::Long slot) override {
    if (refuses) throw CORBA::NO_RESOURCES();
    announced.push_back(std::string(engine) + " " + std::to_string(instance) + " " + std::to_string(slot));
    return progress_._this();
  }
  Corvanta::EngineProgressSeq* Engines() override { return new Corvanta::EngineProgressSeq; }
  std::vector<std::string> announced;
  bool refuses = false;

 private:
  FakeProgress& progress_;
};

class StartUp : public testing::Test {
 protected:
  StartUp() { platform_.UseInThisProcess(); }

  static ORB_wrapper& Orb() { return dynamic_cast<ORB_wrapper&>(ORB_wrapper::Current()); }

  void OfferEnumeration(CORBA::Object_ptr object) {
    Orb().Activate();
    Orb().Bind({"Lumenar", "local", "HWENUM_ABLE", "1"}, object);
  }

  IsolatedPlatform platform_{IsolatedPlatform::Options::NamingOnly()};
  CapturedOutput written_;
};

TEST_F(StartUp, WithoutHardwareEnumerationTheEngineStartsAndReportsNoProgress) {
  MathInit init;
  EXPECT_EQ(written_.Take(), std::string(kResolving) + kNarrowFailed + kIsNull);
  Orb().Activate();
  const CORBA::Object_var object = Orb().Resolve({"Lumenar", "local", "MATHFACTORY", "1"});
  const Corvanta::MathFactory::Interfaces_var factory = Corvanta::MathFactory::Interfaces::_narrow(object);
  ASSERT_FALSE(CORBA::is_nil(factory));
  const Corvanta::EngineAttribEnum_var type = factory->AttrType();
  EXPECT_EQ(type->Get(), 0);
  EXPECT_EQ(Orb().GetInstanceNum("GUI_ABLE"), "1");
}

TEST_F(StartUp, TheHandshakeAnnouncesTheEngineAndProgressIsToldAsText) {
  MathInit init;
  PortableServer::Servant_var<FakeProgress> progress(new FakeProgress);
  PortableServer::Servant_var<FakeEnumeration> enumeration(new FakeEnumeration(*progress.in()));
  OfferEnumeration(Corvanta::HwEnumerate_Able_var(enumeration->_this()));
  written_.Take();
  init.InitHwInterface(3);
  init.PushHwProgress(12.5);
  init.PushHwProgress(100.0);
  EXPECT_EQ(written_.Take(), std::string(kResolving) +
                                 "MathInit Before asking for progress ptr - \n"
                                 "MathInit After getting progress ptr\n"
                                 "MathInit Calling the hw enum_engine with progress - 12.5\n"
                                 "MathInit Calling the hw enum_engine with progress - 100\n");
  EXPECT_THAT(enumeration->announced, ElementsAre("math_factory.engine 3 0"));
  EXPECT_THAT(progress->told, ElementsAre("12.5", "100"));
}

TEST_F(StartUp, AnObjectOfAnotherInterfaceIsNoHardwareEnumeration) {
  MathInit init;
  PortableServer::Servant_var<FakeProgress> stranger(new FakeProgress);
  OfferEnumeration(Corvanta::Progress_Interface_var(stranger->_this()));
  written_.Take();
  init.InitHwInterface(1);
  init.PushHwProgress(100.0);
  EXPECT_EQ(written_.Take(), std::string(kResolving) + kIsNull);
  EXPECT_THAT(stranger->told, IsEmpty());
}

TEST_F(StartUp, ANameWhoseProcessIsGoneOrHangsIsNoHardwareEnumeration) {
  MathInit init;
  Orb().Activate();
  platform_.StartHwEnumeration();
  ASSERT_TRUE(WaitUntil([] {
    try {
      const CORBA::Object_var bound = Orb().Resolve({"Lumenar", "local", "HWENUM_ABLE", "1"});
      return true;
    } catch (const CORBA::Exception&) {
      return false;
    }
  }));
  for (const int fault : {SIGSTOP, SIGKILL}) {
    if (fault == SIGKILL) {
      platform_.KillHwEnumeration();
    } else {
      platform_.HwEnumeration().Signal(fault);
    }
    written_.Take();
    const auto begin = std::chrono::steady_clock::now();
    init.InitHwInterface(1);
    init.PushHwProgress(100.0);
    EXPECT_EQ(written_.Take(), std::string(kResolving) + kNarrowFailed + kIsNull) << fault;
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(2))
        << "the short limit, not that of all calls";
  }
}

TEST_F(StartUp, AFailingAnnouncementIsNotGuarded) {
  MathInit init;
  PortableServer::Servant_var<FakeProgress> progress(new FakeProgress);
  PortableServer::Servant_var<FakeEnumeration> enumeration(new FakeEnumeration(*progress.in()));
  enumeration->refuses = true;
  OfferEnumeration(Corvanta::HwEnumerate_Able_var(enumeration->_this()));
  EXPECT_THROW(init.InitHwInterface(1), CORBA::NO_RESOURCES);
}

TEST_F(StartUp, AnEngineComesUpAgainAfterItsEndAndLeavesNothing) {
  for (int i = 0; i < 2; ++i) {
    MathInit init;
    EXPECT_TRUE(ORB_wrapper::HasCurrent());
  }
  EXPECT_FALSE(ORB_wrapper::HasCurrent());
  EXPECT_EQ(LiveInstances("ReadingServant"), 0);
}

}  // namespace
}  // namespace Lumenar::Test
