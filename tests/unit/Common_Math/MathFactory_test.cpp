// SPDX-License-Identifier: Apache-2.0
// The factory: selector, registry, refusals, kinds of inputs, ids.
#include <gmock/gmock.h>

#include <atomic>

#include "Common_Math/src/Builders.h"
#include "tests/support/MathFixture.h"

namespace {

std::atomic<int> trims{0};

}  // namespace

/// Takes the place of the library's, which looks through all memory of the process, and counts instead.
extern "C" int malloc_trim(std::size_t) noexcept { return ++trims; }

namespace Lumenar::Test {
namespace {

using Corvanta::EngineReadingBase_ptr;
using testing::ElementsAre;
using testing::IsEmpty;

class FactoryTest : public MathFixture {
 protected:
  ScalarInput first_{namer_, registration_, ScalarOf(5)};
  ScalarInput second_{namer_, registration_, ScalarOf(2)};
  TraceInput trace_{namer_, registration_, TraceOf({1, 2, 3})};
  LongInput long_{namer_, registration_, 1};

  std::vector<CORBA::Long> Ids() {
    const Corvanta::MathFactory::IdSeq_var ids = Factory().ListMath();
    return {ids->get_buffer(), ids->get_buffer() + ids->length()};
  }
};

/// A reading that says of itself whatever the test wants, and counts how often it is asked.
class StubReading : public POA_Corvanta::EngineReadingBase {
 public:
  StubReading(std::string name, std::string type_name) : name_(std::move(name)), type_name_(std::move(type_name)) {}

  char* DDS_Value() override { return CORBA::string_dup("STUB"); }
  char* Name() override { return CORBA::string_dup(name_.c_str()); }
  Corvanta::TypeInfo* CORBA_Type() override {
    ++asked;
    return NewTypeInfo(name_, type_name_);
  }

  int asked = 0;

 private:
  std::string name_;
  std::string type_name_;
};

/// A scalar that counts how often it is asked for its topic.
class ScalarStub : public POA_Corvanta::EngineReadingValueDouble {
 public:
  char* DDS_Value() override {
    ++asked_for_topic;
    return CORBA::string_dup("STUB/1/SCALAR");
  }
  char* Name() override { return CORBA::string_dup("SCALAR"); }
  Corvanta::TypeInfo* CORBA_Type() override { return NewTypeInfo("SCALAR", "ValueDouble"); }
  Scalar Get() override { return ScalarOf(1); }

  int asked_for_topic = 0;
};

TEST_F(FactoryTest, AnInputIsAskedForItsTopicOnceByWhateverIsCreated) {
  PortableServer::Servant_var<ScalarStub> first(new ScalarStub);
  PortableServer::Servant_var<ScalarStub> second(new ScalarStub);
  const Corvanta::EngineReadingBase_var first_reading = first->_this();
  const Corvanta::EngineReadingBase_var second_reading = second->_this();
  int objects = 0;
  for (const int type : {Subtract, RelativeSubtract, Average, Peak}) {
    Create(type, HasTwoInputs(type) ? std::vector<EngineReadingBase_ptr>{first_reading, second_reading}
                                    : std::vector<EngineReadingBase_ptr>{first_reading});
    EXPECT_EQ(first->asked_for_topic, ++objects) << type;
  }
  EXPECT_EQ(second->asked_for_topic, 2);
  Corvanta::ORB_base::DeactivateObject(first.in());
  Corvanta::ORB_base::DeactivateObject(second.in());
}

TEST_F(FactoryTest, AFreshFactoryCreatesASubtract) {
  const Corvanta::MathFactory::Math_var math = Factory().CreateMath(Inputs({first_, second_}));
  const CORBA::String_var type = math->GetType();
  EXPECT_STREQ(type, "Subtract");
  EXPECT_EQ(ScalarResult(math).val, 3);
}

TEST_F(FactoryTest, TheSelectorIsTheAttributeTypeWithAllOperations) {
  const Corvanta::EngineAttribEnum_var type = Factory().AttrType();
  const CORBA::String_var name = type->Name();
  EXPECT_STREQ(name, "TYPE");
  EXPECT_EQ(type->Get(), 0);
  Corvanta::EnumElementSeq_var elements = type->Elements();
  ASSERT_EQ(elements->length(), Operations().size());
  for (CORBA::ULong i = 0; i < elements->length(); ++i) {
    EXPECT_EQ(elements[i].number, static_cast<CORBA::Long>(i));
    EXPECT_STREQ(elements[i].name, Operations()[i].name);
  }
}

TEST_F(FactoryTest, TheSelectorKeepsItsValueBetweenCreations) {
  const Corvanta::EngineAttribEnum_var type = Factory().AttrType();
  type->Set(Peak);
  for (int i = 0; i < 2; ++i) {
    const Corvanta::MathFactory::Math_var math = Factory().CreateMath(Inputs({first_}));
    const CORBA::String_var name = math->GetType();
    EXPECT_STREQ(name, "Peak");
  }
}

TEST_F(FactoryTest, ATypeThatIsNoOperationIsAcceptedAndRefusedByTheNextCreateMath) {
  for (const int number : {99, static_cast<int>(Operations().size()), -1}) {
    const Corvanta::EngineAttribEnum_var type = Factory().AttrType();
    type->Set(number);
    EXPECT_EQ(type->Get(), number);
    EXPECT_EQ(RefusalOf([&] { Factory().CreateMath(Inputs({first_, second_})); }), "Invalid Math Type");
    EXPECT_EQ(written_.Take(), "Common_Math/src/MathFactory_i:CreateMath Error: Invalid math operation: " +
                                   std::to_string(number) + "\n");
  }
  EXPECT_THAT(Ids(), IsEmpty());
}

struct Refusal {
  int type;
  std::vector<int> kinds;  // 0 long, 1 scalar, 2 trace
  const char* line;
  const char* text;
};

TEST_F(FactoryTest, InputsThatDoNotFitAreRefusedWithLineAndText) {
  const EngineReadingBase_ptr by_kind[] = {long_, first_, trace_};
  const Refusal table[] = {
      {Subtract, {}, "CreateSubtract Error: attribs length != 2", "Subtract requires exactly two attributes."},
      {Subtract, {1}, "CreateSubtract Error: attribs length != 2", "Subtract requires exactly two attributes."},
      {Subtract, {1, 1, 1}, "CreateSubtract Error: attribs length != 2", "Subtract requires exactly two attributes."},
      {Subtract, {2, 1}, "CreateSubtract Error: Invalid types: 2, 1", "Invalid attrib types"},
      {Subtract, {1, 2}, "CreateSubtract Error: Invalid types: 1, 2", "Invalid attrib types"},
      {Subtract, {0, 0}, "CreateSubtract Error: Invalid types: 0, 0", "Invalid attrib types"},
      {RelativeSubtract,
       {2},
       "CreateRelativeSubtract Error: attribs length != 2",
       "Relative Subtract requires exactly two attributes."},
      {RelativeSubtract, {2, 1}, "CreateRelativeSubtract Error: Invalid types: 2, 1", "Invalid attrib types"},
      {RelativeSubtract, {0, 0}, "CreateRelativeSubtract Error: Invalid types: 0, 0", "Invalid attrib types"},
      {Average, {}, "CreateAverage Error: attribs length != 1", "Average requires exactly one attribute."},
      {Average, {1, 1}, "CreateAverage Error: attribs length != 1", "Average requires exactly one attribute."},
      {Average, {0}, "CreateAverage Error: Invalid type: 0", "Invalid attrib types"},
      {Peak, {1, 1}, "CreatePeak Error: attribs length != 1", "Average requires exactly one attribute."},
      {Peak, {0}, "CreatePeak Error: Invalid type: 0", "Invalid attrib types"},
      {CumulativeAdd,
       {2, 0},
       "CreateCumulativeAdd Error: attribs length != 3",
       "Cumulative Add requires exactly three attributes."},
      {CumulativeAdd, {0, 2, 0}, "CreateCumulativeAdd Error: Invalid types: 0, 2, 0", "Invalid attrib types"},
      {CumulativeAdd, {2, 1, 0}, "CreateCumulativeAdd Error: Invalid types: 2, 1, 0", "Invalid attrib types"},
      {CumulativeAdd, {2, 0, 2}, "CreateCumulativeAdd Error: Invalid types: 2, 0, 2", "Invalid attrib types"},
  };
  for (const Refusal& row : table) {
    SCOPED_TRACE(row.line);
    std::vector<EngineReadingBase_ptr> inputs;
    for (const int kind : row.kinds) inputs.push_back(by_kind[kind]);
    EXPECT_EQ(RefusalOf([&] { Create(row.type, inputs); }), row.text);
    EXPECT_EQ(written_.Take(), std::string("Common_Math/src/MathFactory_i:") + row.line + "\n");
  }
  EXPECT_THAT(Ids(), IsEmpty());
  EXPECT_THAT(StandingTopics(), IsEmpty());
}

TEST_F(FactoryTest, KindsAreComparedAsWholeWordsAndRefusedByTheReadingsName) {
  struct Row {
    const char* type_name;
    int kind;  // -1: refused
  };
  for (const Row& row : {Row{"long", 0}, Row{"ValueDouble", 1}, Row{"BasicTrace", 2}, Row{"Long", -1}, Row{"long ", -1},
                         Row{"boolean", -1}, Row{"", -1}, Row{"basictrace", -1}}) {
    SCOPED_TRACE(row.type_name);
    PortableServer::Servant_var<StubReading> stub(new StubReading("LOCKED", row.type_name));
    const Corvanta::EngineReadingBase_var reading = stub->_this();
    int kind = -1;
    const std::string refusal = RefusalOf([&] { kind = GetType(reading); });
    EXPECT_EQ(kind, row.kind);
    EXPECT_EQ(refusal, row.kind < 0 ? "Invalid Attrib Type: LOCKED" : "none");
    EXPECT_EQ(written_.Take(),
              row.kind < 0 ? "Common_Math/src/MathFactory_i:GetType Error: Invalid attrib type: LOCKED\n" : "");
    Corvanta::ORB_base::DeactivateObject(stub.in());
  }
}

TEST_F(FactoryTest, AWrongCountIsRefusedBeforeAnyReadingIsAsked) {
  PortableServer::Servant_var<StubReading> stub(new StubReading("STUB", "ValueDouble"));
  const Corvanta::EngineReadingBase_var reading = stub->_this();
  EXPECT_EQ(RefusalOf([&] { Create(Peak, {reading, reading}); }), "Average requires exactly one attribute.");
  EXPECT_EQ(stub->asked, 0);
  EXPECT_THROW(Create(Peak, {reading}), Corvanta::MathFactory::MathFactoryException) << "says scalar and is none";
  EXPECT_EQ(stub->asked, 1);
  Corvanta::ORB_base::DeactivateObject(stub.in());
}

TEST_F(FactoryTest, AnUnknownKindEndsTheBuilderAtTheFirstOffendingInput) {
  PortableServer::Servant_var<StubReading> odd(new StubReading("ODD", "enum"));
  PortableServer::Servant_var<StubReading> next(new StubReading("NEXT", "void"));
  const Corvanta::EngineReadingBase_var odd_reading = odd->_this();
  const Corvanta::EngineReadingBase_var next_reading = next->_this();
  EXPECT_EQ(RefusalOf([&] { Create(Subtract, {odd_reading, next_reading}); }), "Invalid Attrib Type: ODD");
  EXPECT_EQ(next->asked, 0);
  Corvanta::ORB_base::DeactivateObject(odd.in());
  Corvanta::ORB_base::DeactivateObject(next.in());
}

TEST_F(FactoryTest, ANilInputRaisesTheOrbsExceptionAndTheNextRequestWorks) {
  EXPECT_THROW(Create(Average, {Corvanta::EngineReadingBase::_nil()}), CORBA::SystemException);
  EXPECT_THROW(Create(Subtract, {first_, Corvanta::EngineReadingBase::_nil()}), CORBA::SystemException);
  EXPECT_EQ(written_.Take(), "");
  EXPECT_EQ(ScalarResult(Create(Subtract, {first_, second_})).val, 3);
}

TEST_F(FactoryTest, AnInputThatIsGoneRaisesTheOrbsException) {
  auto gone = std::make_unique<ScalarInput>(namer_, registration_, ScalarOf(1));
  const Corvanta::EngineReadingBase_var reference = Corvanta::EngineReadingBase::_duplicate(*gone);
  gone.reset();
  EXPECT_THROW(Create(Average, {reference}), CORBA::OBJECT_NOT_EXIST);
}

TEST_F(FactoryTest, IdsRiseAndAreNotUsedAgain) {
  const CORBA::Long first = Create(Average, {first_})->GetId();
  Factory().DeleteMath(first);
  EXPECT_EQ(Create(Peak, {first_})->GetId(), first + 1);
  EXPECT_EQ(Create(Subtract, {first_, second_})->GetId(), first + 2);
  EXPECT_THAT(Ids(), ElementsAre(first + 1, first + 2));
}

TEST_F(FactoryTest, AFailedCreationThatGotAsFarAsTheObjectUsesUpItsNumber) {
  const CORBA::Long before = Create(Average, {first_})->GetId();
  TraceInput malformed(namer_, registration_, TraceOf({1, 2, 3}, Value::Units{false, 0, {{{}, {Value::U_Watt, 1}}}}));
  EXPECT_EQ(RefusalOf([&] { Create(Subtract, {trace_, malformed}); }), "Invalid units: OperationNotValid");
  EXPECT_EQ(written_.Take(), "") << "it passes without a line";
  EXPECT_THAT(Ids(), ElementsAre(before));
  EXPECT_THAT(StandingTopics(), ElementsAre(first_.GetDDS_Topic())) << "the failed object has left its subscriptions";
  EXPECT_EQ(Create(Average, {first_})->GetId(), before + 2) << "its number is used up";
}

TEST_F(FactoryTest, UnitsThatCannotBeReadAreRefusedInWords) {
  const auto unknown = static_cast<Value::Units_list>(Value::kLastUnit + 1);
  const Value::Units unreadable[] = {
      {false, 0, {{{}, {Value::U_Watt, 1}}}},                           // a gap
      Value::Make_unit(unknown),                                        // a number that names no unit
      {false, 0, {{{Value::U_Volt, 0x7fffffff}, {Value::U_Volt, 1}}}},  // exponents beyond 32 bits
  };
  for (const Value::Units& units : unreadable) {
    TraceInput trace(namer_, registration_, TraceOf({1, 2, 3}, units));
    EXPECT_EQ(RefusalOf([&] { Create(Subtract, {trace, trace_}); }), "Invalid units: OperationNotValid");
    EXPECT_EQ(RefusalOf([&] { Create(Subtract, {trace_, trace}); }), "Invalid units: OperationNotValid");
    ScalarInput scalar(namer_, registration_, ScalarOf(1, units));
    for (const int type : {Average, Peak}) {
      EXPECT_EQ(RefusalOf([&] { Create(type, {scalar}); }), "Invalid units: OperationNotValid");
    }
    EXPECT_EQ(RefusalOf([&] { Create(RelativeSubtract, {scalar, first_}); }), "Invalid units: OperationNotValid");
  }
  EXPECT_EQ(written_.Take(), "");
  EXPECT_THAT(Ids(), IsEmpty());
}

TEST_F(FactoryTest, GetMathFindsAnObjectAndIsNilForAnUnknownOrDeletedId) {
  const Corvanta::MathFactory::Math_var math = Create(Average, {first_});
  const CORBA::Long id = math->GetId();
  const Corvanta::MathFactory::Math_var found = Factory().GetMath(id);
  EXPECT_TRUE(found->_is_equivalent(math));
  const Corvanta::MathFactory::Average_var average = Corvanta::MathFactory::Average::_narrow(found);
  EXPECT_FALSE(CORBA::is_nil(average));
  EXPECT_TRUE(CORBA::is_nil(Corvanta::MathFactory::Math_var(Factory().GetMath(id + 1))));
  EXPECT_TRUE(CORBA::is_nil(Corvanta::MathFactory::Math_var(Factory().GetMath(-1))));
  Factory().DeleteMath(id);
  EXPECT_TRUE(CORBA::is_nil(Corvanta::MathFactory::Math_var(Factory().GetMath(id))));
}

TEST_F(FactoryTest, DeletingAnUnknownOrDeletedIdDoesNothing) {
  const CORBA::Long id = Create(Average, {first_})->GetId();
  Factory().DeleteMath(id);
  Factory().DeleteMath(id);
  Factory().DeleteMath(-5);
  EXPECT_EQ(written_.Take(), "");
  EXPECT_THAT(Ids(), IsEmpty());
}

TEST_F(FactoryTest, DeletionEndsSubscriptionsOnceWithTheirHandlesAndWithdrawsTheItems) {
  const std::size_t items_before = registration_.Entries().size();
  const Corvanta::MathFactory::Math_var math = Create(CumulativeAdd, {trace_, long_, long_});
  const Corvanta::EngineReadingBase_var result = math->AttrResult();
  Factory().DeleteMath(math->GetId());
  EXPECT_EQ(Manager().Unsubscribed(), Manager().Subscribed());
  EXPECT_EQ(Manager().Unsubscribed().size(), 3u);
  EXPECT_EQ(registration_.Entries().size(), items_before);
  EXPECT_THROW(math->GetId(), CORBA::OBJECT_NOT_EXIST);
  EXPECT_THROW(result->Name(), CORBA::OBJECT_NOT_EXIST);
  EXPECT_EQ(LiveInstances("MathBase"), 0);
}

TEST_F(FactoryTest, WhenTheFactoryGoesSubscriptionsEndAndServantsAnswerNothing) {
  const Corvanta::MathFactory::Math_var scalar = Create(Average, {first_});
  const Corvanta::MathFactory::Math_var trace = Create(Peak, {trace_});
  DropFactory();
  EXPECT_THAT(StandingTopics(), IsEmpty());
  EXPECT_EQ(LiveInstances("MathBase"), 2) << "not deactivated: the ORB holds them";
  EXPECT_THROW(scalar->GetId(), CORBA::OBJECT_NOT_EXIST);
  EXPECT_THROW(trace->AttrResult(), CORBA::OBJECT_NOT_EXIST);
}

TEST_F(FactoryTest, AMathObjectIsRefusedWhenTheManagerRefusesItsSubscription) {
  Manager().RefuseSubscriptions();
  EXPECT_THROW(Create(Peak, {trace_}), CORBA::BAD_PARAM);
  EXPECT_THAT(Ids(), IsEmpty());
  EXPECT_EQ(LiveInstances("MathBase"), 0);
}

TEST_F(FactoryTest, ResultsOfTwoObjectsHaveDistinctItemsAndTopics) {
  const Corvanta::MathFactory::Math_var one = Create(Average, {first_});
  const Corvanta::MathFactory::Math_var two = Create(Average, {first_});
  const Corvanta::EngineReadingBase_var result_one = one->AttrResult();
  const Corvanta::EngineReadingBase_var result_two = two->AttrResult();
  const CORBA::String_var name_one = result_one->Name();
  const CORBA::String_var name_two = result_two->Name();
  EXPECT_STREQ(name_one, "RESULT");
  EXPECT_STREQ(name_two, "RESULT.2");
  // The prefix is the engine's registered name; a number follows it for the further factories of one process.
  const Corvanta::EngineAttribEnum_var type = Factory().AttrType();
  const CORBA::String_var type_topic = type->DDS_Value();
  const std::string prefix = std::string(type_topic).substr(0, std::string(type_topic).rfind('/'));
  EXPECT_EQ(prefix.substr(0, Orb().EngineName().size()), Orb().EngineName());
  const std::string mark = ResultTopic(one).substr((prefix + "/RESULT").size());
  EXPECT_THAT(mark, testing::MatchesRegex("@[0-9a-f]{16}"));
  EXPECT_EQ(ResultTopic(one), prefix + "/RESULT" + mark);
  EXPECT_EQ(ResultTopic(two), prefix + "/RESULT.2" + mark);
  EXPECT_STREQ(type_topic, (prefix + "/TYPE").c_str()) << "TYPE is the engine's, whose topic stays the same";
}

TEST_F(FactoryTest, AResultIsTheInputOfAnotherObject) {
  const Corvanta::MathFactory::Math_var average = Create(Average, {first_});
  const Corvanta::EngineReadingBase_var result = average->AttrResult();
  const Corvanta::MathFactory::Math_var difference = Create(Subtract, {result, second_});
  EXPECT_EQ(ScalarResult(difference).val, 3);
  EXPECT_THAT(StandingTopics(), ElementsAre(first_.GetDDS_Topic(), ResultTopic(average), second_.GetDDS_Topic()));
}

TEST_F(FactoryTest, MemoryIsGivenBackAsOftenAsHalfOfTheObjectsAreGone) {
  std::vector<CORBA::Long> ids;
  for (int i = 0; i < 64; ++i) ids.push_back(Create(Peak, {first_})->GetId());
  const int before = trims;
  for (const CORBA::Long id : ids) Factory().DeleteMath(id);
  EXPECT_EQ(trims - before, 3) << "at 32, 16 and 8";
}

}  // namespace
}  // namespace Lumenar::Test
