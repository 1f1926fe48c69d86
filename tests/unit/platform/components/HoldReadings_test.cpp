// SPDX-License-Identifier: Apache-2.0
#include "platform/components/HoldReadings.h"

#include <gmock/gmock.h>
#include <boost/weak_ptr.hpp>

#include <functional>
#include <stdexcept>
#include <string>

namespace Lumenar {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

std::vector<std::string> published;

HoldReadings::Publication PublicationOf(std::string name) {
  return [name = std::move(name)] { published.push_back(name); };
}

class HoldReadingsTest : public testing::Test {
 protected:
  HoldReadingsTest() { published.clear(); }
  boost::shared_ptr<HoldReadings> hold_ = HoldReadings::CreateInstance();
  const HoldReadings::Publication a_ = PublicationOf("a"), b_ = PublicationOf("b");
};

TEST_F(HoldReadingsTest, IsOneForTheProcess) {
  EXPECT_EQ(HoldReadings::CreateInstance(), hold_);
  const boost::weak_ptr<HoldReadings> watch = hold_;
  hold_.reset();
  EXPECT_TRUE(watch.expired()) << "it lives as long as somebody shares it";
}

TEST_F(HoldReadingsTest, DefersNothingWhileNothingIsHeld) {
  EXPECT_FALSE(hold_->IsHolding());
  EXPECT_FALSE(hold_->Defer(a_));
  hold_->Hold();
  hold_->Release();
  EXPECT_FALSE(hold_->IsHolding());
  EXPECT_THAT(published, IsEmpty());
}

TEST_F(HoldReadingsTest, TheEndPublishesInOrderOfDeferral) {
  hold_->Hold();
  EXPECT_TRUE(hold_->Defer(b_));
  EXPECT_TRUE(hold_->Defer(a_));
  EXPECT_THAT(published, IsEmpty());
  hold_->Release();
  EXPECT_THAT(published, ElementsAre("b", "a"));
}

TEST_F(HoldReadingsTest, TheLastOfNestedHoldsCounts) {
  hold_->Hold();
  {
    HoldReadings::Block block;
    EXPECT_TRUE(hold_->Defer(a_));
  }
  EXPECT_TRUE(hold_->IsHolding());
  EXPECT_THAT(published, IsEmpty());
  hold_->Release();
  EXPECT_THAT(published, ElementsAre("a"));
}

TEST_F(HoldReadingsTest, EachHoldPublishesOnce) {
  hold_->Hold();
  EXPECT_TRUE(hold_->Defer(a_));
  hold_->Release();
  hold_->Hold();
  hold_->Release();
  EXPECT_THAT(published, ElementsAre("a"));
}

TEST_F(HoldReadingsTest, ReleaseWithoutAHoldIsAnError) { EXPECT_THROW(hold_->Release(), std::logic_error); }

}  // namespace
}  // namespace Lumenar
