// SPDX-License-Identifier: Apache-2.0
#include "Common_Math/src/HistoryMemory.h"

#include <gtest/gtest.h>
#include <omniORB4/CORBA.h>

#include <optional>

namespace Lumenar::Test {
namespace {

using Share = HistoryMemory::Share;

/// A limit for the length of a test.
struct LimitOf {
  explicit LimitOf(std::uint64_t bytes) { HistoryMemory::SetLimit(bytes); }
  ~LimitOf() { HistoryMemory::SetLimit(0); }
};

TEST(HistoryMemory, SharesTogetherStayWithinTheLimit) {
  const LimitOf limit(1000);
  const Share first(600);
  EXPECT_EQ(first.Bytes(), 600u);
  EXPECT_THROW(Share(401), CORBA::IMP_LIMIT);
  std::optional<Share> second;
  EXPECT_NO_THROW(second.emplace(400)) << "what was refused takes nothing";
  EXPECT_THROW(Share(1), CORBA::IMP_LIMIT);
  second.reset();
  EXPECT_NO_THROW(Share(400));
}

TEST(HistoryMemory, AFullHistoryGoesOnAtTheLimit) {
  const LimitOf limit(1000);
  const Share full(1000);
  EXPECT_NO_THROW(Share(100, 100)) << "as many bytes are given back for it";
  EXPECT_NO_THROW(Share(50, 100));
  EXPECT_THROW(Share(101, 100), CORBA::IMP_LIMIT);
}

TEST(HistoryMemory, NoneIsNoLimit) {
  const LimitOf none(0);
  EXPECT_NO_THROW(Share(std::size_t{1} << 30));
}

}  // namespace
}  // namespace Lumenar::Test
