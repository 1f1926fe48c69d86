// SPDX-License-Identifier: Apache-2.0
// In which order an operation asks its inputs, and ends what it holds.
#include <gmock/gmock.h>

#include "tests/support/OperationFixture.h"

namespace Lumenar::Test {
namespace {

using Corvanta::EngineReadingBase_ptr;
using Corvanta::MathFactory::Math_var;
using testing::ElementsAre;

/// A reading was asked for its topic, when so many subscriptions stood.
struct Note {
  std::string topic;
  std::size_t subscriptions;
};

/// A reading that notes when it is asked for its topic.
template <class Skeleton>
class NotingReading : public Skeleton {
 public:
  NotingReading(std::string topic, const FakeTopicManager& manager, std::vector<Note>& notes)
      : topic_(std::move(topic)), manager_(manager), notes_(notes) {}

  char* DDS_Value() override {
    notes_.push_back({topic_, manager_.Subscribed().size()});
    return CORBA::string_dup(topic_.c_str());
  }
  char* Name() override { return CORBA::string_dup(topic_.c_str()); }

 private:
  const std::string topic_;
  const FakeTopicManager& manager_;
  std::vector<Note>& notes_;
};

struct NotingScalar : NotingReading<POA_Corvanta::EngineReadingValueDouble> {
  using NotingReading::NotingReading;
  Corvanta::TypeInfo* CORBA_Type() override { return NewTypeInfo("SCALAR", "ValueDouble"); }
  Scalar Get() override { return ScalarOf(1); }
};

struct NotingTrace : NotingReading<POA_Corvanta::EngineBasicTrace> {
  using NotingReading::NotingReading;
  Corvanta::TypeInfo* CORBA_Type() override { return NewTypeInfo("TRACE", "BasicTrace"); }
  BT_DATA* Get() override { return new BT_DATA(TraceOf({1})); }
};

struct NotingLong : NotingReading<POA_Corvanta::EngineReadingLong> {
  using NotingReading::NotingReading;
  Corvanta::TypeInfo* CORBA_Type() override { return NewTypeInfo("LONG", "long"); }
  CORBA::Long Get() override { return 0; }
};

class OrderTest : public OperationFixture {
 protected:
  std::vector<std::string> EndedTopics() {
    std::vector<std::string> topics;
    for (const auto& subscription : Manager().Unsubscribed()) topics.push_back(subscription.topic);
    return topics;
  }

  std::vector<std::string> SubscribedTopics() {
    std::vector<std::string> topics;
    for (const auto& subscription : Manager().Subscribed()) topics.push_back(subscription.topic);
    return topics;
  }

  /// Whether each item that is registered still answers to its own name.
  bool AllItemsAnswer() {
    for (const auto& entry : registration_.Entries()) {
      const CORBA::String_var name = entry.reference->Name();
      if (entry.name != name.in()) return false;
    }
    return true;
  }

  std::vector<EngineReadingBase_ptr> InputsOf(int type) {
    if (type == CumulativeAdd) return {trace_, start_, stop_};
    if (type == Average || type == Peak) return {trace_};
    return {trace_, other_trace_};
  }
};

TEST_F(OrderTest, ATwoInputOperationAsksTheFirstTopicFirstAndBothBeforeItSubscribes) {
  std::vector<Note> notes;
  const PortableServer::Servant_var<NotingScalar> first(new NotingScalar("FIRST", Manager(), notes));
  const PortableServer::Servant_var<NotingScalar> second(new NotingScalar("SECOND", Manager(), notes));
  const Corvanta::EngineReadingValueDouble_var first_reading = first->_this(), second_reading = second->_this();
  Create(Subtract, {first_reading, second_reading});
  ASSERT_GE(notes.size(), 2u);
  EXPECT_EQ(notes[0].topic, "FIRST");
  EXPECT_EQ(notes[1].topic, "SECOND");
  EXPECT_EQ(notes[1].subscriptions, 0u);
  EXPECT_THAT(SubscribedTopics(), ElementsAre("FIRST", "SECOND"));
}

TEST_F(OrderTest, CumulativeAddAsksItsTopicsInOrderAndAllBeforeItSubscribes) {
  std::vector<Note> notes;
  const PortableServer::Servant_var<NotingTrace> trace(new NotingTrace("TRACE", Manager(), notes));
  const PortableServer::Servant_var<NotingLong> start(new NotingLong("START", Manager(), notes));
  const PortableServer::Servant_var<NotingLong> stop(new NotingLong("STOP", Manager(), notes));
  const Corvanta::EngineBasicTrace_var trace_reading = trace->_this();
  const Corvanta::EngineReadingLong_var start_reading = start->_this(), stop_reading = stop->_this();
  Create(CumulativeAdd, {trace_reading, start_reading, stop_reading});
  ASSERT_GE(notes.size(), 3u);
  EXPECT_EQ(notes[0].topic, "TRACE");
  EXPECT_EQ(notes[1].topic, "START");
  EXPECT_EQ(notes[2].topic, "STOP");
  EXPECT_EQ(notes[2].subscriptions, 0u);
  EXPECT_THAT(SubscribedTopics(), ElementsAre("TRACE", "START", "STOP"));
}

TEST_F(OrderTest, SubscriptionsEndInTheOrderOfTheInputs) {
  const Math_var subtract = Create(Subtract, {scalar_, other_scalar_});
  const Math_var sum = Create(CumulativeAdd, {trace_, start_, stop_});
  Factory().DeleteMath(subtract->GetId());
  EXPECT_THAT(EndedTopics(), ElementsAre(scalar_.GetDDS_Topic(), other_scalar_.GetDDS_Topic()));
  Factory().DeleteMath(sum->GetId());
  EXPECT_THAT(EndedTopics(), ElementsAre(scalar_.GetDDS_Topic(), other_scalar_.GetDDS_Topic(), trace_.GetDDS_Topic(),
                                         start_.GetDDS_Topic(), stop_.GetDDS_Topic()));
}

TEST_F(OrderTest, SubscriptionsEndBeforeTheOtherItems) {
  std::size_t items = 0;
  int ended = 0;
  Manager().on_unsubscribe = [&](const std::string& topic) {
    ++ended;
    EXPECT_EQ(registration_.Entries().size(), items) << topic;
    EXPECT_TRUE(AllItemsAnswer()) << topic;
  };
  for (const int type : {Subtract, RelativeSubtract, Average, Peak, CumulativeAdd}) {
    const Math_var math = Create(type, InputsOf(type));
    items = registration_.Entries().size();
    Factory().DeleteMath(math->GetId());
    EXPECT_LT(registration_.Entries().size(), items);
  }
  EXPECT_EQ(ended, 2 + 2 + 1 + 1 + 3);
}

}  // namespace
}  // namespace Lumenar::Test
