// SPDX-License-Identifier: Apache-2.0
// The steps of the start, one by one: the engine's calls to its ORB wrapper pass through the functions below (see
// --wrap in the CMake file), which keep what they are given and answer as a test wants.
#include <gmock/gmock.h>

#include <boost/lexical_cast.hpp>
#include <optional>
#include <stdexcept>
#include <thread>

#include "Common_Math/src/MathFactory_i.h"
#include "Common_Math/src/MathInit.h"
#include "tests/support/IsolatedPlatform.h"

namespace {

using Corvanta::ORB_wrapper;
using Corvanta::ORB_wrapper_base;
using Children = std::vector<ORB_wrapper_base::ChildInfo>;
using Clients = std::vector<ORB_wrapper_base::ClientInfo>;

/// What the present test wants and got.
struct Steps {
  std::vector<std::string> taken;
  std::vector<std::string> names_of_children;
  bool factory_is_child = false;
  std::optional<std::string> instance;
  std::function<void(Clients&)> look_up;
};

Steps* steps = nullptr;

}  // namespace

std::string RealGetInstanceNum(ORB_wrapper* orb, std::string name) asm(
    "__real__ZN8Corvanta11ORB_wrapper14GetInstanceNumENSt7__cxx1112basic_stringIcSt11char_traitsIcESaIcEEE");
std::string GetInstanceNumOfTest(ORB_wrapper* orb, std::string name) asm(
    "__wrap__ZN8Corvanta11ORB_wrapper14GetInstanceNumENSt7__cxx1112basic_stringIcSt11char_traitsIcESaIcEEE");
void RealInstallChildObj(ORB_wrapper* orb, Children& children) asm(
    "__real__ZN8Corvanta11ORB_wrapper15InstallChildObjERSt6vectorINS_16ORB_wrapper_base9ChildInfoESaIS3_EE");
void InstallChildObjOfTest(ORB_wrapper* orb, Children& children) asm(
    "__wrap__ZN8Corvanta11ORB_wrapper15InstallChildObjERSt6vectorINS_16ORB_wrapper_base9ChildInfoESaIS3_EE");
void RealLookupClient(ORB_wrapper_base* orb, Clients& clients) asm(
    "__real__ZN8Corvanta16ORB_wrapper_base12LookupClientERSt6vectorINS0_10ClientInfoESaIS2_EE");
void LookupClientOfTest(ORB_wrapper_base* orb, Clients& clients) asm(
    "__wrap__ZN8Corvanta16ORB_wrapper_base12LookupClientERSt6vectorINS0_10ClientInfoESaIS2_EE");

std::string GetInstanceNumOfTest(ORB_wrapper* orb, std::string name) {
  steps->taken.push_back("instance of " + name);
  return steps->instance ? *steps->instance : RealGetInstanceNum(orb, name);
}

void InstallChildObjOfTest(ORB_wrapper* orb, Children& children) {
  steps->taken.push_back("children");
  for (const auto& child : children) steps->names_of_children.push_back(child.name);
  RealInstallChildObj(orb, children);
  if (children.empty()) return;
  CORBA::Object_var bound = orb->Resolve({"Lumenar", "local", "MATHFACTORY", "1"});
  steps->factory_is_child = bound->_is_equivalent(children[0].object);
}

void LookupClientOfTest(ORB_wrapper_base* orb, Clients& clients) {
  steps->taken.push_back("look-up");
  if (!steps->look_up) return RealLookupClient(orb, clients);
  steps->look_up(clients);
}

namespace Lumenar::Test {
namespace {

using testing::ElementsAre;

/// Hardware enumeration and progress, within the engine's own process.
class FakeProgress : public POA_Corvanta::Progress_Interface {
 public:
  void SetProgress(const char* progress) override {
    steps->taken.push_back(std::string("progress ") + progress);
    if (refuses) throw CORBA::NO_RESOURCES(17, CORBA::COMPLETED_NO);
  }
  bool refuses = false;
};

class FakeEnumeration : public POA_Corvanta::HwEnumerate_Able {
 public:
  explicit FakeEnumeration(FakeProgress& progress) : progress_(progress) {}
  Corvanta::Progress_Interface_ptr GetProgressInterface(const char* engine, CORBA::Long instance,
                                                        CORBA::Long slot) override {
    steps->taken.push_back("announced " + std::string(engine) + " " + std::to_string(instance) + " " +
                           std::to_string(slot));
    return progress_._this();
  }
  Corvanta::EngineProgressSeq* Engines() override { return new Corvanta::EngineProgressSeq; }

 private:
  FakeProgress& progress_;
};

class Start : public testing::Test {
 protected:
  Start() {
    platform_.UseInThisProcess();
    steps = &steps_;
    steps_.look_up = [this](Clients& clients) {
      ORB_wrapper::Current().Activate();
      clients.at(0).object = enumeration_->_this();
    };
  }
  ~Start() override { steps = nullptr; }

  IsolatedPlatform platform_{IsolatedPlatform::Options::NamingOnly()};
  Steps steps_;
  PortableServer::Servant_var<FakeProgress> progress_{new FakeProgress};
  PortableServer::Servant_var<FakeEnumeration> enumeration_{new FakeEnumeration(*progress_.in())};
};

TEST_F(Start, TakesItsStepsInOrderTheChildBeforeTheProgressAndTellsItsOwnInstance) {
  steps_.instance = "7";
  MathInit init;
  EXPECT_THAT(steps_.taken, ElementsAre("children", "instance of GUI_ABLE", "look-up",
                                        "announced math_factory.engine 7 0", "progress 100"));
}

TEST_F(Start, PublishesTheFactoryAsTheOneChildWithAnEmptyName) {
  MathInit init;
  EXPECT_THAT(steps_.names_of_children, ElementsAre(""));
  EXPECT_TRUE(steps_.factory_is_child);
}

TEST_F(Start, AnInstanceThatIsNoDecimalIntegerEndsIt) {
  for (const char* text : {"3a", "", " 3", "3 ", "0x3", "3.0", "a"}) {
    steps_.instance = text;
    try {
      MathInit init;
      ADD_FAILURE() << "started with \"" << text << "\"";
    } catch (const boost::bad_lexical_cast& error) {
      EXPECT_STREQ(error.what(), "bad lexical cast: source type value could not be interpreted as target");
    }
  }
  EXPECT_THAT(steps_.taken, testing::Not(testing::Contains("look-up")))
      << "nobody is told of an engine that does not start";
}

TEST_F(Start, AProgressThatIsRefusedEndsIt) {
  progress_->refuses = true;
  try {
    MathInit init;
    ADD_FAILURE() << "started";
  } catch (const CORBA::NO_RESOURCES& error) {
    EXPECT_EQ(error.minor(), 17u);
  }
  EXPECT_FALSE(ORB_wrapper::HasCurrent());
}

struct Unheard {};

TEST_F(Start, WhateverTheLookUpThrowsTheEngineStarts) {
  const std::function<void(Clients&)> failures[] = {
      [](Clients&) { throw CORBA::TRANSIENT(0, CORBA::COMPLETED_NO); },
      [](Clients&) { throw CosNaming::NamingContext::NotFound(); },
      [](Clients&) { throw std::runtime_error("broken"); },
      [](Clients&) { throw std::bad_alloc(); },
      [](Clients&) { throw Unheard(); },
      [](Clients&) { throw 42; },
      [](Clients&) { throw "text"; },
  };
  for (const auto& failure : failures) {
    steps_.look_up = failure;
    testing::internal::CaptureStdout();
    EXPECT_NO_THROW(MathInit());
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "MathInit::Start resolving hw inteface\n"
              "Math engine : Hw enum interface narrow failed.\n"
              "Math engine : Hw enum interface hwenum_ptr is null.\n");
  }
}

TEST_F(Start, NobodyIsServedBeforeJoin) {
  steps_.look_up = nullptr;
  MathInit init;
  EXPECT_EQ(platform_.Start("mathctl", {"--timeout", "0.5", "types"})->WaitForExit(), 3) << "served before Join";
  std::thread join([&init] { init.Join(); });
  const auto client = platform_.Start("mathctl", {"types"});
  EXPECT_EQ(client->WaitForExit(), 0) << client->Error();
  ORB_wrapper::Current().Shutdown();
  join.join();
}

}  // namespace
}  // namespace Lumenar::Test
