// SPDX-License-Identifier: Apache-2.0
// The factory as clients meet it: selection, refusal with every line and text, ids, deletion.
#include <gmock/gmock.h>

#include <chrono>
#include <cstring>
#include <set>
#include <sstream>

#include "tests/support/EngineFixture.h"
#include "tests/support/MathType.h"

namespace Lumenar::Test {
namespace {

using testing::ElementsAre;
using testing::ElementsAreArray;
using Value::C_Watts;

class Factory : public EngineFixture {
 protected:
  bool EngineSays(const std::string& line) { return engine_.WaitForLine(line); }

  std::vector<int> LiveIds() {
    Corvanta::MathFactory::IdSeq_var ids = factory_->ListMath();
    std::vector<int> live;
    for (CORBA::ULong i = 0; i < ids->length(); ++i) live.push_back(ids[i]);
    return live;
  }
};

TEST_F(Factory, AFreshEngineCreatesASubtract) {
  ScalarInput a(bench_, "A", ScalarOf(3, C_Watts));
  ScalarInput b(bench_, "B", ScalarOf(1, C_Watts));
  Corvanta::MathFactory::Math_var math = factory_->CreateMath(Inputs(a, b));
  CORBA::String_var type = math->GetType();
  EXPECT_STREQ(type, "Subtract");
  EXPECT_EQ(math->GetId(), 0);
}

/// A name in the standard's own text form, in which components without a point have an empty kind.
TEST_F(Factory, StandsUnderNamesOfEmptyKind) {
  const std::string name = "corbaname::" + platform_.NamingAddress() + "#Lumenar/local/MATHFACTORY/1";
  CORBA::Object_var object = bench_.Orb().Orb()->string_to_object(name.c_str());
  Corvanta::MathFactory::Interfaces_var factory = Corvanta::MathFactory::Interfaces::_narrow(object);
  ASSERT_FALSE(CORBA::is_nil(factory));
  EXPECT_TRUE(factory->_is_equivalent(factory_));
}

TEST_F(Factory, TheSelectorNamesTheOperations) {
  Corvanta::EngineAttribEnum_var selector = factory_->AttrType();
  EXPECT_EQ(selector->Get(), 0);
  Corvanta::EnumElementSeq_var elements = selector->Elements();
  std::vector<std::string> names;
  for (CORBA::ULong i = 0; i < elements->length(); ++i) {
    EXPECT_EQ(elements[i].number, static_cast<CORBA::Long>(i));
    names.emplace_back(elements[i].name);
  }
  EXPECT_THAT(names, ElementsAreArray(kMathTypeNames));
}

TEST_F(Factory, TypeSevenIsAcceptedBySetAndRefusedByCreateMath) {
  ScalarInput a(bench_, "A", ScalarOf(3, C_Watts));
  EXPECT_EQ(Refusal(static_cast<MathType>(7), Inputs(a, a)), "Invalid Math Type");
  EXPECT_TRUE(EngineSays("Common_Math/src/MathFactory_i:CreateMath Error: Invalid math operation: 7"));
}

struct WrongCount {
  MathType type;
  const char* line;
  const char* sentence;
};

TEST_F(Factory, AWrongNumberOfInputsIsRefusedBeforeAnyReadingIsAsked) {
  const WrongCount table[] = {
      {Subtract, "CreateSubtract Error: attribs length != 2", "Subtract requires exactly two attributes."},
      {RelativeSubtract, "CreateRelativeSubtract Error: attribs length != 2",
       "Relative Subtract requires exactly two attributes."},
      {Average, "CreateAverage Error: attribs length != 1", "Average requires exactly one attribute."},
      {Peak, "CreatePeak Error: attribs length != 1", "Average requires exactly one attribute."},
      {CumulativeAdd, "CreateCumulativeAdd Error: attribs length != 3",
       "Cumulative Add requires exactly three attributes."},
  };
  Corvanta::MathFactory::ReadingAttribSeq nils;  // asking one of these would raise a system exception
  nils.length(4);
  for (const WrongCount& row : table) {
    EXPECT_EQ(Refusal(row.type, nils), row.sentence);
    EXPECT_TRUE(EngineSays(std::string("Common_Math/src/MathFactory_i:") + row.line)) << row.line;
  }
}

TEST_F(Factory, WrongKindsAreRefusedWithTheirCodes) {
  TraceInput trace(bench_, "TRACE", Trace({1, 2}, C_Watts));
  ScalarInput scalar(bench_, "SCALAR", ScalarOf(1, C_Watts));
  LongInput number(bench_, "LONG", 1);
  struct Row {
    MathType type;
    Corvanta::MathFactory::ReadingAttribSeq inputs;
    const char* line;
  };
  const Row table[] = {
      {Subtract, Inputs(trace, scalar), "CreateSubtract Error: Invalid types: 2, 1"},
      {Subtract, Inputs(scalar, trace), "CreateSubtract Error: Invalid types: 1, 2"},
      {Subtract, Inputs(number, number), "CreateSubtract Error: Invalid types: 0, 0"},
      {RelativeSubtract, Inputs(trace, number), "CreateRelativeSubtract Error: Invalid types: 2, 0"},
      {Average, Inputs(number), "CreateAverage Error: Invalid type: 0"},
      {Peak, Inputs(number), "CreatePeak Error: Invalid type: 0"},
      {CumulativeAdd, Inputs(number, trace, number), "CreateCumulativeAdd Error: Invalid types: 0, 2, 0"},
      {CumulativeAdd, Inputs(trace, scalar, number), "CreateCumulativeAdd Error: Invalid types: 2, 1, 0"},
      {CumulativeAdd, Inputs(trace, number, trace), "CreateCumulativeAdd Error: Invalid types: 2, 0, 2"},
  };
  for (const Row& row : table) {
    EXPECT_EQ(Refusal(row.type, row.inputs), "Invalid attrib types") << row.line;
    EXPECT_TRUE(EngineSays(std::string("Common_Math/src/MathFactory_i:") + row.line)) << row.line;
  }
  EXPECT_THAT(LiveIds(), testing::IsEmpty());
}

TEST_F(Factory, AKindThatNoOperationTakesIsRefusedByTheReadingsName) {
  ScalarInput scalar(bench_, "SCALAR", ScalarOf(1, C_Watts));
  Corvanta::EngineReadingBoolean_i flag(bench_.Namer(), bench_.Registration(), "FLAG", false);
  EXPECT_EQ(Refusal(Subtract, Inputs(scalar, flag)), "Invalid Attrib Type: FLAG");
  EXPECT_TRUE(EngineSays("Common_Math/src/MathFactory_i:GetType Error: Invalid attrib type: FLAG"));
}

TEST_F(Factory, NilAndForeignReferencesRaiseTheOrbsExceptionAndTheNextRequestWorks) {
  Corvanta::MathFactory::ReadingAttribSeq nils;
  nils.length(1);
  EXPECT_THROW(Create(Average, nils), CORBA::SystemException);

  CORBA::Object_var other = bench_.Orb().Resolve({"Lumenar", "local", "DDS_MANAGER", "1"});
  Corvanta::MathFactory::ReadingAttribSeq foreign;
  foreign.length(1);
  foreign[0] = Corvanta::EngineReadingBase::_unchecked_narrow(other);
  EXPECT_THROW(Create(Average, foreign), CORBA::SystemException);

  ScalarInput scalar(bench_, "SCALAR", ScalarOf(1, C_Watts));
  Corvanta::MathFactory::Math_var math = Create(Average, Inputs(scalar));
  EXPECT_EQ(ScalarResult(math).val, 1);
}

TEST_F(Factory, IdsRiseAndAreNeverUsedTwice) {
  ScalarInput scalar(bench_, "SCALAR", ScalarOf(1, C_Watts));
  Corvanta::MathFactory::Math_var first = Create(Average, Inputs(scalar));
  EXPECT_EQ(first->GetId(), 0);
  factory_->DeleteMath(0);
  Corvanta::MathFactory::Math_var second = Create(Average, Inputs(scalar));
  EXPECT_EQ(second->GetId(), 1);
  EXPECT_THAT(LiveIds(), ElementsAre(1));
}

TEST_F(Factory, AFailedCreateMathThatGotAsFarAsTheObjectUsesUpItsNumber) {
  // The reading says that it is a trace and is none: construction begins and fails.
  struct Impostor : POA_Corvanta::EngineReadingLong {
    char* DDS_Value() override { return CORBA::string_dup("IMPOSTOR"); }
    char* Name() override { return CORBA::string_dup("IMPOSTOR"); }
    Corvanta::TypeInfo* CORBA_Type() override {
      auto* info = new Corvanta::TypeInfo;
      info->name = "IMPOSTOR";
      info->type_name = "BasicTrace";
      return info;
    }
    CORBA::Long Get() override { return 0; }
  };
  PortableServer::Servant_var<Impostor> impostor = new Impostor;
  Corvanta::MathFactory::ReadingAttribSeq inputs;
  inputs.length(1);
  inputs[0] = impostor->_this();
  EXPECT_EQ(Refusal(Peak, inputs), "Invalid Corvanta::BASIC_TRACE::BT_DATA Attrib type");
  EXPECT_TRUE(
      EngineSays("Common_Math/src/MathValueBasicTrace:MathValue Error: could not narrow attrib to BasicTrace type!"));

  ScalarInput scalar(bench_, "SCALAR", ScalarOf(1, C_Watts));
  Corvanta::MathFactory::Math_var math = Create(Average, Inputs(scalar));
  EXPECT_EQ(math->GetId(), 1);
}

TEST_F(Factory, GetMathFindsAnObjectAndIsNilForAnUnknownOrDeletedId) {
  ScalarInput scalar(bench_, "SCALAR", ScalarOf(1, C_Watts));
  Corvanta::MathFactory::Math_var math = Create(Peak, Inputs(scalar));
  Corvanta::MathFactory::Math_var found = factory_->GetMath(0);
  EXPECT_TRUE(found->_is_equivalent(math));
  EXPECT_TRUE(CORBA::is_nil(Corvanta::MathFactory::Math_var(factory_->GetMath(17))));
  factory_->DeleteMath(0);
  EXPECT_TRUE(CORBA::is_nil(Corvanta::MathFactory::Math_var(factory_->GetMath(0))));
  EXPECT_NO_THROW(factory_->DeleteMath(0));
  EXPECT_NO_THROW(factory_->DeleteMath(-1));
}

TEST_F(Factory, DeletionEndsTheObjectItsReadingsAndItsSubscriptions) {
  ScalarInput scalar(bench_, "SCALAR", ScalarOf(1, C_Watts));
  Corvanta::MathFactory::Math_var math = Create(Average, Inputs(scalar));
  Corvanta::EngineReadingBase_var result = math->AttrResult();
  CORBA::Object_var object = bench_.Orb().Resolve({"Lumenar", "local", "DDS_MANAGER", "1"});
  Corvanta::DDS_Manager_var manager = Corvanta::DDS_Manager::_narrow(object);
  ASSERT_EQ(Corvanta::SubscriptionStatusSeq_var(manager->Subscriptions())->length(), 1u);

  factory_->DeleteMath(0);
  EXPECT_EQ(Corvanta::SubscriptionStatusSeq_var(manager->Subscriptions())->length(), 0u);
  EXPECT_THROW(math->GetId(), CORBA::OBJECT_NOT_EXIST);
  EXPECT_THROW(CORBA::String_var(result->Name()), CORBA::OBJECT_NOT_EXIST);
}

/// The operations that a process called remotely, by the lines that its ORB writes about each.
std::multiset<std::string> RemoteCalls(const std::string& lines) {
  constexpr const char* kBegin = "Invoke '";
  std::multiset<std::string> calls;
  std::istringstream text(lines);
  for (std::string line; std::getline(text, line);) {
    const std::size_t begin = line.find(kBegin);
    if (begin == std::string::npos || line.find("on remote") == std::string::npos) continue;
    const std::size_t name = begin + std::strlen(kBegin);
    calls.insert(line.substr(name, line.find('\'', name) - name));
  }
  return calls;
}

TEST_F(Factory, CreationAsksEachInputAndTheTopicManagerNothingTwice) {
  Process& engine = platform_.StartEngine("math_factory_hh", {{"ORBtraceInvocations", "1"}});
  factory_ = bench_.Factory("2");
  ScalarInput first(bench_, "FIRST", ScalarOf(1, C_Watts)), second(bench_, "SECOND", ScalarOf(1, C_Watts));
  const auto calls_of_one = [&] {
    const std::size_t before = engine.Error().size();
    const Corvanta::MathFactory::Math_var math = Create(Subtract, Inputs(first, second));
    return RemoteCalls(engine.Error().substr(before));
  };
  calls_of_one();  // finds the topic manager and opens the connections
  std::multiset<std::string> calls = calls_of_one();
  for (const char* watch : {"Renew", "_non_existent"}) calls.erase(watch);  // of threads that watch others
  EXPECT_LE(calls.count("SubscriptionEpoch"), 2u) << "one for both subscriptions, and perhaps one of the watch";
  calls.erase("SubscriptionEpoch");
  // The present values once more behind the subscriptions, so that no sample falls between. TYPE is published as well
  // as RESULT.
  EXPECT_THAT(calls, ElementsAre("CORBA_Type", "CORBA_Type", "DDS_Value", "DDS_Value", "Get", "Get", "Get", "Get",
                                 "Publish", "Publish", "Subscribe", "Subscribe"));
}

/// Who answered within the last 100 ms is not asked whether it is there.
TEST_F(Factory, OfCreationsInARowOneAtMostAsksWhetherTheTopicManagerIsThere) {
  using std::chrono::milliseconds;
  using std::chrono::steady_clock;
  Process& engine = platform_.StartEngine("math_factory_hh", {{"ORBtraceInvocations", "1"}});
  factory_ = bench_.Factory("2");
  ScalarInput first(bench_, "FIRST", ScalarOf(1, C_Watts)), second(bench_, "SECOND", ScalarOf(1, C_Watts));
  const auto inputs = Inputs(first, second);
  Corvanta::MathFactory::Math_var math = Create(Subtract, inputs);  // finds the topic manager
  const std::size_t before = engine.Error().size();
  const auto begin = steady_clock::now();
  for (int i = 0; i < 5; ++i) math = Create(Subtract, inputs);
  const auto pauses = static_cast<std::size_t>((steady_clock::now() - begin) / milliseconds(100));  // of a busy machine
  const auto calls = RemoteCalls(engine.Error().substr(before));
  EXPECT_EQ(calls.count("Subscribe"), 10u);
  EXPECT_LE(calls.count("SubscriptionEpoch"), 2 + pauses) << "one of the first, and perhaps one of the watch";
}

TEST_F(Factory, ObjectsOfOneKindHaveDistinctItemsAndTopics) {
  ScalarInput scalar(bench_, "SCALAR", ScalarOf(1, C_Watts));
  Corvanta::MathFactory::Math_var first = Create(Peak, Inputs(scalar));
  Corvanta::MathFactory::Math_var second = Create(Peak, Inputs(scalar));
  EXPECT_NE(ResultTopic(first), ResultTopic(second));
}

}  // namespace
}  // namespace Lumenar::Test
