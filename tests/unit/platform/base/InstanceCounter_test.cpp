// SPDX-License-Identifier: Apache-2.0
#include "platform/base/InstanceCounter.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>

namespace Lumenar {
namespace {

struct Resistor : Counted<Resistor> {
  static constexpr const char* kClassName = "Resistor";
};

struct Capacitor : Counted<Capacitor> {
  static constexpr const char* kClassName = "Capacitor";
};

long Live(const std::string& class_name) {
  for (const auto& [name, live] : InstanceCounter::All())
    if (name == class_name) return live;
  return -1;
}

TEST(InstanceCounter, CountsLiveObjectsOfEachClassApart) {
  std::optional<Resistor> first(std::in_place);
  const Capacitor capacitor;
  {
    const Resistor copy(*first);
    EXPECT_EQ(Live("Resistor"), 2);
    EXPECT_EQ(Live("Capacitor"), 1);
  }
  EXPECT_EQ(Live("Resistor"), 1);
  first.reset();
  EXPECT_EQ(Live("Resistor"), 0);
}

TEST(InstanceCounter, AssignmentMakesNoObject) {
  Resistor a;
  const Resistor b;
  a = b;
  EXPECT_EQ(Live("Resistor"), 2);
}

TEST(InstanceCounter, ClassesAreListedByName) {
  { const Resistor resistor; }
  { const Capacitor capacitor; }
  std::vector<std::string> names;
  for (const auto& entry : InstanceCounter::All()) names.push_back(entry.first);
  EXPECT_THAT(names, testing::ElementsAre("Capacitor", "Resistor"));
}

}  // namespace
}  // namespace Lumenar
