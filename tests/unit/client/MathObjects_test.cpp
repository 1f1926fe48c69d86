// SPDX-License-Identifier: Apache-2.0
// A client's math objects against a platform of real processes.
#include "client/MathObjects.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "tests/support/IsolatedPlatform.h"

namespace Lumenar::Client {
namespace {

using Lumenar::Test::IsolatedPlatform;
using Lumenar::Test::WaitUntil;

class MathObjectsTest : public testing::Test {
 protected:
  MathObjectsTest() {
    platform_.UseInThisProcess();
    platform_.StartEngine("math_factory_hh");
    platform_.StartEngine("sim", {{"SIM_READINGS", "value:LEVEL:rate=0:units=W"}});
  }

  static std::vector<std::int32_t> Ids(MathObjects& objects) {
    std::vector<std::int32_t> ids;
    for (const MathStatus& object : objects.List()) ids.push_back(object.id);
    return ids;
  }

  IsolatedPlatform platform_;
};

TEST_F(MathObjectsTest, AnObjectThatGotTheTypeOfAnotherClientIsNotLeftBehind) {
  Connection connection;
  MathObjects objects(connection);
  const Reading type = connection.FindReading("TYPE");
  const auto selector = Corvanta::EngineAttribEnum_var(Corvanta::EngineAttribEnum::_narrow(type.reference));
  std::atomic<bool> done{false};
  std::thread other([&] {
    while (!done) selector->Set(3);
  });
  std::vector<std::int32_t> created;
  const auto create = [&] {
    try {
      created.push_back(objects.Create("Average", {"LEVEL"}).id);
    } catch (const Error& error) {
      EXPECT_EQ(error.Kind(), ErrorKind::Refused) << error.what();
      return true;
    }
    return created.back() >= static_cast<std::int32_t>(created.size());  // some ids went to objects of another type
  };
  EXPECT_TRUE(WaitUntil(create)) << "nobody came between";
  done = true;
  other.join();
  EXPECT_EQ(Ids(objects), created);
}

}  // namespace
}  // namespace Lumenar::Client
