// SPDX-License-Identifier: Apache-2.0
// Readings that a client offers itself, seen by others and computed on.
#include "client/OwnReading.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <vector>

#include "client/MathObjects.h"
#include "client/Subscription.h"
#include "client/values.h"
#include "tests/support/IsolatedPlatform.h"

namespace Lumenar::Client {
namespace {

using Corvanta::SampleRecord;
using Lumenar::Test::IsolatedPlatform;
using Trace = Corvanta::BASIC_TRACE::BT_DATA;

SampleRecord TraceOf(const std::vector<float>& samples) {
  Trace trace{};
  trace.samples.length(static_cast<CORBA::ULong>(samples.size()));
  std::copy(samples.begin(), samples.end(), trace.samples.get_buffer());
  return SampleRecord(std::in_place_type<Trace>, trace);
}

SampleRecord LongOf(CORBA::Long number) { return SampleRecord(std::in_place_type<CORBA::Long>, number); }

std::vector<float> SamplesOf(const SampleRecord& record) {
  const auto& samples = std::get<Trace>(record).samples;
  return {samples.get_buffer(), samples.get_buffer() + samples.length()};
}

class OwnReadingTest : public testing::Test {
 protected:
  OwnReadingTest() {
    platform_.UseInThisProcess();
    platform_.StartEngine("math_factory_hh");
    connection_ = std::make_unique<Connection>(platform_.NamingAddress());
  }

  std::shared_ptr<OwnEngine> Engine(const std::string& name) { return std::make_shared<OwnEngine>(*connection_, name); }

  std::vector<std::string> NamesSeenByAnother() {
    Connection another(platform_.NamingAddress());
    std::vector<std::string> names;
    for (const Reading& reading : another.Readings()) names.push_back(FullName(reading.name));
    return names;
  }

  IsolatedPlatform platform_;
  std::unique_ptr<Connection> connection_;
};

TEST_F(OwnReadingTest, IsSeenByOthersAsLongAsItLives) {
  {
    OwnReading reading(Engine("MYLAB/1"), "BASELINE", TraceOf({1, 2, 3}));
    EXPECT_EQ(reading.Name(), "MYLAB/1/BASELINE");
    EXPECT_THAT(NamesSeenByAnother(), testing::Contains("MYLAB/1/BASELINE"));
    Connection another(platform_.NamingAddress());
    EXPECT_EQ(SamplesOf(GetValue(another.FindReading("BASELINE"))), (std::vector<float>{1, 2, 3}));
  }
  EXPECT_THAT(NamesSeenByAnother(), testing::Not(testing::Contains("MYLAB/1/BASELINE")));
}

TEST_F(OwnReadingTest, IsAnInputOfMath) {
  OwnReading reading(Engine("MYLAB"), "BASELINE", TraceOf({1, 2}));
  MathObjects objects(*connection_);
  const MathObject average = objects.Create("Average", {"MYLAB/1/BASELINE"});
  objects.SetSize(average.id, 2);
  Subscription subscription(*connection_);
  subscription.Add(objects.Result(average.id));
  reading.Publish(TraceOf({3, 4}));
  reading.Publish(TraceOf({5, 8}));
  std::vector<float> last;
  while (const auto delivery = subscription.Next(std::chrono::seconds(10))) {
    last = SamplesOf(delivery->record);
    if (last == std::vector<float>{4, 6}) break;
  }
  EXPECT_EQ(last, (std::vector<float>{4, 6})) << "the mean of the last two";
}

TEST_F(OwnReadingTest, CountsItsTraces) {
  OwnReading reading(Engine("MYLAB"), "T", TraceOf({1}));
  reading.Publish(TraceOf({2}));
  const SampleRecord present = GetValue(connection_->FindReading("MYLAB/1/T"));
  EXPECT_EQ(std::get<Trace>(present).sequence_number, 1u);
  EXPECT_NE(std::get<Trace>(present).header[0], 0u) << "of the capture time";
}

TEST_F(OwnReadingTest, OneOfTheSameNameTakesItsPlace) {
  const auto engine = Engine("MYLAB/1");
  { OwnReading first(engine, "N", LongOf(1)); }
  OwnReading second(engine, "N", LongOf(2));
  EXPECT_EQ(std::get<CORBA::Long>(GetValue(connection_->FindReading("MYLAB/1/N"))), 2);
}

TEST_F(OwnReadingTest, TwoOfOneNameAtATimeAreRefused) {
  const auto engine = Engine("MYLAB/1");
  OwnReading first(engine, "N", LongOf(1));
  try {
    OwnReading second(engine, "N", LongOf(2));
    FAIL() << "two readings of one name";
  } catch (const Error& error) {
    EXPECT_EQ(error.Kind(), ErrorKind::Refused);
    EXPECT_STREQ(error.what(), "MYLAB/1/N: is published already");
  }
}

TEST_F(OwnReadingTest, RefusesASampleOfAnotherKind) {
  OwnReading reading(Engine("MYLAB"), "N", LongOf(1));
  EXPECT_THROW(reading.Publish(TraceOf({1})), Error);
  EXPECT_EQ(std::get<CORBA::Long>(GetValue(connection_->FindReading("MYLAB/1/N"))), 1);
}

TEST_F(OwnReadingTest, NamesOfItemsAreChecked) {
  const auto engine = Engine("MYLAB");
  for (const char* item : {"", "A/B", "A\n", "A\\B"}) EXPECT_THROW(OwnReading(engine, item, LongOf(1)), Error) << item;
}

TEST_F(OwnReadingTest, TwoEnginesOfOneNameGetTwoInstances) {
  const auto first = Engine("MYLAB"), second = Engine("MYLAB");
  EXPECT_EQ(first->Name(), "MYLAB/1");
  EXPECT_EQ(second->Name(), "MYLAB/2");
  try {
    Engine("MYLAB/2");
    FAIL() << "had the name of another";
  } catch (const Error& error) {
    EXPECT_EQ(error.Kind(), ErrorKind::Refused);
    EXPECT_THAT(error.what(), testing::HasSubstr("MYLAB/2: another engine has this name"));
  }
}

TEST_F(OwnReadingTest, NamesOfEnginesAreChecked) {
  for (const char* name : {"", "/1", "A/", "A/0", "A/x", "A/1/B", "A/01", "GUI_ABLE", "DDS_MANAGER/1", "MATHFACTORY/2"})
    EXPECT_THROW(Engine(name), Error) << name;
}

TEST_F(OwnReadingTest, SaysThatTheNamingServiceIsAway) {
  platform_.KillNamingService();
  try {
    Engine("MYLAB");
    FAIL() << "had a name of nobody";
  } catch (const Error& error) {
    EXPECT_EQ(error.Kind(), ErrorKind::Unreachable);
  }
}

}  // namespace
}  // namespace Lumenar::Client
