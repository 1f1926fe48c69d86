// SPDX-License-Identifier: Apache-2.0
#include "platform/orb/ORB_wrapper.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <omniORB4/Naming.hh>

#include <algorithm>
#include <csignal>

#include "DDS.hh"
#include "tests/support/IsolatedPlatform.h"

namespace Corvanta {
namespace {

using Lumenar::Test::IsolatedPlatform;
using Lumenar::Test::Process;
using Lumenar::Test::WaitUntil;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

using Path = std::vector<std::string>;

class Subscriber : public POA_Corvanta::DDS_Sub {
 public:
  void DDS_Callback(const CORBA::Any&) override {}
  CORBA::Long GetId() override { return 7; }
};

/// A reference to a new active object; it lives until the ORB goes.
CORBA::Object_ptr NewObject() {
  PortableServer::Servant_var<Subscriber> servant(new Subscriber);
  return servant->_this();
}

class ORB_wrapper_ : public testing::Test {
 protected:
  ORB_wrapper_() : platform_(IsolatedPlatform::Options::NamingOnly()) { platform_.UseInThisProcess(); }

  /// Starts an engine process and waits for its name.
  std::unique_ptr<Process> StartEngine(const std::string& mode, const std::string& expected_name) {
    auto engine = platform_.Start("orb_test_engine", {"BENCH", mode});
    EXPECT_TRUE(engine->WaitForLine("is " + expected_name)) << engine->Out() << engine->Error();
    return engine;
  }

  bool IsBound(ORB_wrapper_base& orb, const Path& path) {
    try {
      CORBA::Object_var object = orb.Resolve(path);
      return true;
    } catch (const CosNaming::NamingContext::NotFound&) {
      return false;
    } catch (const CORBA::SystemException&) {
      return false;
    }
  }

  IsolatedPlatform platform_;
};

TEST_F(ORB_wrapper_, TheFirstEngineIsInstanceOne) {
  ORB_wrapper orb("BENCH", "Lumenar/local");
  EXPECT_EQ(orb.EngineName(), "BENCH/1");
  EXPECT_EQ(orb.NamingAddress(), platform_.NamingAddress());
  EXPECT_TRUE(IsBound(orb, {"Lumenar", "local", "BENCH", "1"}));
}

TEST_F(ORB_wrapper_, ANumberIsFreeAgainWhenItsEngineEnded) {
  const auto first = StartEngine("run", "BENCH/1");
  {
    ORB_wrapper orb("BENCH", "Lumenar/local");
    EXPECT_EQ(orb.EngineName(), "BENCH/2");
  }
  first->Signal(SIGTERM);
  EXPECT_EQ(first->WaitForExit(), 0);
  ORB_wrapper orb("BENCH", "Lumenar/local");
  EXPECT_EQ(orb.EngineName(), "BENCH/1");
  EXPECT_THAT(orb.List({"Lumenar", "local", "BENCH"}), ElementsAre("1"));
}

TEST_F(ORB_wrapper_, ANumberIsFreeAgainWhenItsEngineWasKilled) {
  const auto first = StartEngine("run", "BENCH/1");
  first->Signal(SIGKILL);
  first->WaitForExit();
  ORB_wrapper orb("BENCH", "Lumenar/local");
  EXPECT_EQ(orb.EngineName(), "BENCH/1");
  EXPECT_THAT(orb.List({"Lumenar", "local", "BENCH"}), ElementsAre("1"));
}

TEST_F(ORB_wrapper_, AnEngineThatStillStartsKeepsItsNumber) {
  const auto first = StartEngine("hold", "BENCH/1");
  ORB_wrapper orb("BENCH", "Lumenar/local");
  EXPECT_EQ(orb.EngineName(), "BENCH/2");
}

TEST_F(ORB_wrapper_, AnEngineThatHangsKeepsItsNumber) {
  const auto first = StartEngine("run", "BENCH/1");
  first->Signal(SIGSTOP);
  ORB_wrapper orb("BENCH", "Lumenar/local");
  EXPECT_EQ(orb.EngineName(), "BENCH/2");
}

TEST_F(ORB_wrapper_, EnginesThatStartTogetherOverStaleNamesTakeDifferentNumbers) {
  constexpr int kEngines = 4;
  std::vector<std::unique_ptr<Process>> killed;
  for (int i = 1; i <= kEngines; ++i) killed.push_back(StartEngine("run", "BENCH/" + std::to_string(i)));
  for (auto& engine : killed) engine->Signal(SIGKILL);
  for (auto& engine : killed) engine->WaitForExit();
  std::vector<std::unique_ptr<Process>> engines;
  for (int i = 0; i < kEngines; ++i) engines.push_back(platform_.Start("orb_test_engine", {"BENCH", "run"}));
  std::vector<std::string> names;
  for (auto& engine : engines) {
    EXPECT_TRUE(WaitUntil([&] { return engine->Out().find('\n') != std::string::npos; })) << engine->Error();
    names.push_back(engine->Out());
  }
  std::sort(names.begin(), names.end());
  EXPECT_TRUE(std::adjacent_find(names.begin(), names.end()) == names.end()) << testing::PrintToString(names);
}

/// Binds as another process would, past our own book-keeping.
void BindAsSomebodyElse(ORB_base& orb, const CosNaming::Name& name, CORBA::Object_ptr object) {
  CORBA::Object_var root_object = orb.Orb()->resolve_initial_references("NameService");
  CosNaming::NamingContext_var root = CosNaming::NamingContext::_narrow(root_object);
  root->rebind(name, object);
}

CosNaming::Name NameOf(const Path& path) {
  CosNaming::Name name;
  name.length(static_cast<CORBA::ULong>(path.size()));
  for (CORBA::ULong i = 0; i < name.length(); ++i) name[i].id = path[i].c_str();
  return name;
}

TEST_F(ORB_wrapper_, AStaleNameThatAnotherIsReplacingIsLeftToIt) {
  const auto stale = StartEngine("run", "BENCH/1");
  const auto other = StartEngine("run", "BENCH/2");
  ORB_wrapper_base orb(localargc, localargv);
  CosNaming::Name claim = NameOf({"Lumenar", "local", "BENCH", "1"});
  claim[3].kind = "claim";
  CORBA::Object_var other_object = orb.Resolve({"Lumenar", "local", "BENCH", "2"});
  BindAsSomebodyElse(orb, claim, other_object);
  stale->Signal(SIGKILL);
  stale->WaitForExit();
  CORBA::Object_var ours = NewObject();
  EXPECT_EQ(orb.BindInstance({"Lumenar", "local", "BENCH"}, ours), 3);
  other->Signal(SIGKILL);  // now the claim is stale too
  other->WaitForExit();
  EXPECT_EQ(orb.BindInstance({"Lumenar", "local", "BENCH"}, ours), 1);
  EXPECT_THAT(orb.List({"Lumenar", "local", "BENCH"}), UnorderedElementsAre("1", "2", "3"));
}

TEST_F(ORB_wrapper_, TheEnginesOwnObjectTakesTheEnginesName) {
  ORB_wrapper orb("BENCH", "Lumenar/local");
  CORBA::Object_var own = NewObject();
  CORBA::Object_var child = NewObject();
  std::vector<ORB_wrapper_base::ChildInfo> children(2);
  children[0].object = own;
  children[1].name = "CHILD";
  children[1].object = child;
  orb.InstallChildObj(children);
  CORBA::Object_var found = orb.Resolve({"Lumenar", "local", "BENCH", "1"});
  EXPECT_TRUE(found->_is_equivalent(own));
  found = orb.Resolve({"Lumenar", "local", "CHILD", "1"});
  EXPECT_TRUE(found->_is_equivalent(child));
}

TEST_F(ORB_wrapper_, ARegisteredObjectHasAnInstanceNumber) {
  ORB_wrapper orb("BENCH", "Lumenar/local");
  CORBA::Object_var first = NewObject();
  CORBA::Object_var second = NewObject();
  EXPECT_EQ(orb.GetInstanceNum("GUI_ABLE"), "");
  EXPECT_EQ(orb.Register("GUI_ABLE", first), 1);
  EXPECT_EQ(orb.GetInstanceNum("GUI_ABLE"), "1");
  EXPECT_EQ(orb.Register("OTHER", second), 1);
  EXPECT_EQ(orb.BindInstance({"Lumenar", "local", "GUI_ABLE"}, second), 2) << "our own object was taken for stale";
  EXPECT_THAT(orb.List({"Lumenar", "local"}), UnorderedElementsAre("BENCH", "GUI_ABLE", "OTHER"));
}

TEST_F(ORB_wrapper_, ClientsAreLookedUpByPath) {
  ORB_wrapper orb("BENCH", "Lumenar/local");
  CORBA::Object_var service = NewObject();
  orb.Bind({"Lumenar", "local", "SERVICE", "1"}, service);
  std::vector<ORB_wrapper_base::ClientInfo> clients(1);
  clients[0].path = {"Lumenar", "local", "SERVICE", "1"};
  orb.LookupClient(clients);
  EXPECT_TRUE(clients[0].object->_is_equivalent(service));
  clients[0].path = {"Lumenar", "local", "SERVICE", "2"};
  EXPECT_THROW(orb.LookupClient(clients), CosNaming::NamingContext::NotFound);
  platform_.KillNamingService();
  EXPECT_THROW(orb.LookupClient(clients), CORBA::SystemException);
}

TEST_F(ORB_wrapper_, NamesGoWithTheirOrb) {
  {
    ORB_wrapper orb("BENCH", "Lumenar/local");
    CORBA::Object_var object = NewObject();
    orb.Bind({"A", "B", "C"}, object);
    orb.Register("GUI_ABLE", object);
  }
  ORB_wrapper_base orb(localargc, localargv);
  EXPECT_FALSE(IsBound(orb, {"A", "B", "C"}));
  EXPECT_FALSE(IsBound(orb, {"Lumenar", "local", "GUI_ABLE", "1"}));
  EXPECT_THAT(orb.List({"Lumenar", "local", "BENCH"}), IsEmpty());
  EXPECT_THAT(orb.List({"no", "such", "context"}), IsEmpty());
}

TEST_F(ORB_wrapper_, ANameThatAnotherTookOverIsLeftToIt) {
  CORBA::String_var theirs;
  {
    ORB_wrapper_base orb(localargc, localargv);
    CORBA::Object_var our_object = NewObject();
    CORBA::Object_var their_object = NewObject();
    orb.Bind({"X"}, our_object);
    BindAsSomebodyElse(orb, NameOf({"X"}), their_object);
    theirs = orb.Orb()->object_to_string(their_object);
  }
  ORB_wrapper_base orb(localargc, localargv);
  CORBA::Object_var found = orb.Resolve({"X"});
  CORBA::Object_var expected = orb.Orb()->string_to_object(theirs);
  EXPECT_TRUE(found->_is_equivalent(expected));
}

TEST_F(ORB_wrapper_, NamesComeBackToANamingServiceThatLostThem) {
  ORB_wrapper orb("BENCH", "Lumenar/local");
  CORBA::Object_var object = NewObject();
  orb.Bind({"Lumenar", "local", "SERVICE", "1"}, object);
  platform_.KillNamingService();
  std::filesystem::remove_all(platform_.Directory() / "naming");
  platform_.StartNamingService();
  EXPECT_TRUE(WaitUntil([&] {
    return IsBound(orb, {"Lumenar", "local", "SERVICE", "1"}) && IsBound(orb, {"Lumenar", "local", "BENCH", "1"});
  }));
}

TEST_F(ORB_wrapper_, WithoutANamingServiceAnEngineDoesNotStart) {
  platform_.KillNamingService();
  EXPECT_THROW(ORB_wrapper("BENCH", "Lumenar/local"), CORBA::SystemException);
  EXPECT_FALSE(ORB_base::HasCurrent());
  platform_.StartNamingService();
  EXPECT_EQ(ORB_wrapper("BENCH", "Lumenar/local").EngineName(), "BENCH/1");
}

TEST_F(ORB_wrapper_, AnOrbThatGoesWhileTheNamingServiceIsAwayDoesNotWait) {
  const auto start = std::chrono::steady_clock::now();
  {
    ORB_wrapper orb("BENCH", "Lumenar/local");
    platform_.KillNamingService();
  }
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(3));
}

TEST_F(ORB_wrapper_, LongListsAreComplete) {
  ORB_wrapper_base orb(localargc, localargv);
  CORBA::Object_var object = NewObject();
  constexpr int kNames = 1005;  // more than the naming service hands over at once
  for (int i = 0; i < kNames; ++i) orb.Bind({"MANY", std::to_string(i)}, object);
  EXPECT_EQ(orb.List({"MANY"}).size(), static_cast<std::size_t>(kNames));
}

}  // namespace
}  // namespace Corvanta
