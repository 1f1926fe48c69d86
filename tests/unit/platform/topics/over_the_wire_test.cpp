// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>

#include <boost/make_shared.hpp>
#include <boost/scoped_ptr.hpp>
#include <stdexcept>
#include <thread>

#include "platform/servants/servants.h"
#include "platform/topics/DDS_Publisher.h"
#include "platform/topics/DDS_Subscriber.h"
#include "tests/support/TopicsFixture.h"

namespace Lumenar::Test {
namespace {

using namespace Corvanta;
using BASIC_TRACE::BT_DATA;
using testing::ElementsAre;
using VALUE_DOUBLE::VALUE;

constexpr const char* kTopic = "PROBE/1/WAKEUP";

/// Subscribers and publishers with a topic manager in a process of its own between them.
class OverTheWireTest : public testing::Test {
 protected:
  OverTheWireTest() : platform_(WithTopicManager()) {
    platform_.UseInThisProcess();
    orb_ = std::make_unique<ORB_wrapper>("TEST", "Lumenar/local");
    orb_->Activate();
  }

 private:
  static IsolatedPlatform::Options WithTopicManager() {
    IsolatedPlatform::Options options;
    options.hw_enumeration = false;
    return options;
  }

  IsolatedPlatform platform_;
  std::unique_ptr<ORB_wrapper> orb_;
};

/// Keeps what a callback is called with, from any thread.
template <class T>
class Inbox {
 public:
  typename DDS_Subscriber<T>::Callback Callback() {
    return [this](const char*, T record) {
      Lock lock(mutex_);
      records_.push_back(record);
    };
  }

  std::vector<T> Records() const {
    Lock lock(mutex_);
    return records_;
  }

  bool WaitFor(std::size_t count) const {
    return WaitUntil([&] { return Records().size() >= count; });
  }

 private:
  mutable Mutex mutex_;
  std::vector<T> records_ GUARDED_BY(mutex_);
};

TEST_F(OverTheWireTest, EachKindArrivesAsItWasSent) {
  Inbox<BT_DATA> traces;
  Inbox<VALUE> values;
  Inbox<int> numbers;
  DDS_Subscriber<BT_DATA> trace_subscriber("T/1/TRACE", traces.Callback());
  DDS_Subscriber<VALUE> value_subscriber("T/1/VALUE", values.Callback());
  DDS_Subscriber<int> long_subscriber("T/1/LONG", numbers.Callback());

  BT_DATA trace{};
  trace.sequence_number = 7;
  trace.header[11] = 12;
  trace.x_step = 0.5;
  trace.samples.length(10001);
  for (CORBA::ULong i = 0; i < trace.samples.length(); ++i) trace.samples[i] = static_cast<float>(i);
  VALUE value{};
  value.units.slots[4].exponent = -2;
  value.val = 1.25;
  DDS_Publisher<BT_DATA>("T/1/TRACE").Publish(trace);
  DDS_Publisher<VALUE>("T/1/VALUE").Publish(value);
  DDS_Publisher<int>("T/1/LONG").Publish(-8);

  ASSERT_TRUE(traces.WaitFor(1) && values.WaitFor(1) && numbers.WaitFor(1));
  const BT_DATA received = traces.Records().at(0);
  EXPECT_EQ(received.sequence_number, 7U);
  EXPECT_EQ(received.header[11], 12U);
  EXPECT_EQ(received.x_step, 0.5);
  ASSERT_EQ(received.samples.length(), 10001U);
  EXPECT_EQ(received.samples[10000], 10000.0F);
  EXPECT_EQ(values.Records().at(0).units.slots[4].exponent, -2);
  EXPECT_EQ(values.Records().at(0).val, 1.25);
  EXPECT_THAT(numbers.Records(), ElementsAre(-8));
}

TEST_F(OverTheWireTest, ASampleOfAnotherKindIsWrittenAndTheNextArrives) {
  Inbox<int> numbers;
  DDS_Subscriber<int> subscriber(kTopic, numbers.Callback());
  testing::internal::CaptureStdout();
  DDS_Publisher<bool>(kTopic).Publish(true);
  DDS_Publisher<int>(kTopic).Publish(1);
  EXPECT_TRUE(numbers.WaitFor(1));
  EXPECT_EQ(testing::internal::GetCapturedStdout(),
            "void Corvanta::DDS_Subscriber<T>::DDS_Callback(const CORBA::Any&) [with T = int] error filling message \n"
            "topic is PROBE/1/WAKEUP\n");
}

TEST_F(OverTheWireTest, ACallbackThatThrowsHasHadItsSample) {
  Inbox<int> numbers;
  const auto keep = numbers.Callback();
  DDS_Subscriber<int> subscriber(kTopic, [&](const char* topic, int number) {
    keep(topic, number);
    if (number == 1) throw std::runtime_error("no CORBA exception");
  });
  DDS_Subscriber<int> empty(kTopic, DDS_Subscriber<int>::Callback());  // throws at each delivery
  DDS_Publisher<int> publisher(kTopic);
  for (int i = 1; i <= 3; ++i) publisher.Publish(i);
  ASSERT_TRUE(numbers.WaitFor(3));
  EXPECT_THAT(numbers.Records(), ElementsAre(1, 2, 3));
}

/// Subscriptions come and go while samples stream in: every callback finds its inbox alive or is not called.
TEST_F(OverTheWireTest, SubscriptionsComeAndGoUnderLoad) {
  std::atomic<bool> done{false};
  std::thread stream([&] {
    DDS_Publisher<int> publisher(kTopic);
    for (int i = 0; !done; ++i) publisher.Publish(i);
  });
  for (int round = 0; round < 30; ++round) {
    const auto calls = boost::make_shared<std::atomic<int>>(0);
    DDS_Subscriber<int> subscriber(kTopic, [calls](const char*, int) { ++*calls; });
    EXPECT_TRUE(WaitUntil([&] { return *calls > 0; }));
  }
  done = true;
  stream.join();
  EXPECT_EQ(LiveInstances("DDS_Subscriber"), 0);
  EXPECT_TRUE(WaitUntil([] { return LiveInstances("SubscriberServant") == 0; }));
}

/// An object that subscribes and is given up while a delivery runs in it, as operations are.
class Listener : public virtual PortableServer::ServantBase, private Counted<Listener> {
 public:
  static constexpr const char* kClassName = "Listener";

  Listener() : gate_(UpcallGate::Create(this)) {
    subscriber_.reset(new DDS_Subscriber<int>(kTopic, gate_->Guard([this](const char*, int number) { Take(number); })));
    gate_->Open();
  }

  void Close() noexcept {
    gate_->Close();
    subscriber_.reset();
  }

  void LetGo() {
    Lock lock(mutex_);
    waiting_ = false;
    changed_.NotifyAll();
  }

  bool IsInside() const {
    Lock lock(mutex_);
    return inside_;
  }

 protected:
  ~Listener() override = default;

 private:
  // Only the counting of references is of interest here.
  void* _ptrToInterface(const char*) override { return nullptr; }
  const char* _mostDerivedRepoId() override { return ""; }

  void Take(int) {
    Lock lock(mutex_);
    inside_ = true;
    while (waiting_) changed_.Wait(mutex_);
    inside_ = false;
  }

  mutable Mutex mutex_;
  Condition changed_;
  bool inside_ GUARDED_BY(mutex_) = false;
  bool waiting_ GUARDED_BY(mutex_) = true;
  const boost::shared_ptr<UpcallGate> gate_;
  boost::scoped_ptr<DDS_Subscriber<int>> subscriber_;
};

TEST_F(OverTheWireTest, AnObjectGivenUpDuringADeliveryLivesUntilItLeaves) {
  PortableServer::Servant_var<Listener> listener(new Listener);
  Listener* inside = listener.in();  // alive as long as the delivery is in it
  DDS_Publisher<int> publisher(kTopic);
  publisher.Publish(1);
  ASSERT_TRUE(WaitUntil([&] { return inside->IsInside(); }));
  publisher.Publish(2);

  inside->Close();  // does not wait
  EXPECT_EQ(inside->_refcount_value(), 2U) << "the owner and the delivery";
  listener = nullptr;
  EXPECT_EQ(LiveInstances("Listener"), 1);
  inside->LetGo();

  EXPECT_TRUE(WaitUntil([] { return LiveInstances("Listener") == 0; }));
  EXPECT_TRUE(WaitUntil([] { return LiveInstances("SubscriberServant") == 0; }));
}

}  // namespace
}  // namespace Lumenar::Test
