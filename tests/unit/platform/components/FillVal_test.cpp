// SPDX-License-Identifier: Apache-2.0
#include "platform/topics/FillVal.h"

#include <gtest/gtest.h>

#include <functional>

namespace Corvanta {
namespace {

using BASIC_TRACE::BT_DATA;
using VALUE_DOUBLE::VALUE;

BT_DATA Trace() {
  BT_DATA trace{};
  trace.sequence_number = 5;
  trace.flags = 6;
  trace.header[0] = 7;
  trace.header[11] = 8;
  trace.units.base_power = -3;
  trace.units.slots[4].unit = 9;
  trace.x_step = 0.25;
  trace.samples.length(2);
  trace.samples[0] = 1.5F;
  trace.samples[1] = -1.5F;
  return trace;
}

VALUE Value() {
  VALUE value{};
  value.units.slots[0].unit = 1;
  value.minus_err = -1.0;
  value.plus_err = 2.0;
  value.val = 3.0;
  return value;
}

/// One any of each kind that may come, "text" being one that no topic carries.
struct Kind {
  const char* name;
  std::function<void(CORBA::Any&)> put;
};

const Kind kKinds[] = {
    {"trace", [](CORBA::Any& any) { any <<= Trace(); }},
    {"value", [](CORBA::Any& any) { any <<= Value(); }},
    {"long", [](CORBA::Any& any) { any <<= static_cast<CORBA::Long>(-5); }},
    {"boolean", [](CORBA::Any& any) { any <<= CORBA::Any::from_boolean(true); }},
    {"unsigned long", [](CORBA::Any& any) { any <<= static_cast<CORBA::ULong>(5); }},
    {"short", [](CORBA::Any& any) { any <<= static_cast<CORBA::Short>(5); }},
    {"text", [](CORBA::Any& any) { any <<= "text"; }},
    {"nothing", [](CORBA::Any&) {}},
};

/// The one kind that FillVal<T> takes, and that `out` is left as it was for all others.
template <class T>
void ExpectTakesOnly(const std::string& taken, const T& before, const std::function<bool(const T&)>& is_untouched) {
  for (const Kind& kind : kKinds) {
    CORBA::Any any;
    kind.put(any);
    T out = before;
    EXPECT_EQ(FillVal<T>(out, any), kind.name == taken) << kind.name;
    EXPECT_EQ(is_untouched(out), kind.name != taken) << kind.name;
  }
}

TEST(FillVal, EachKindTakesItsOwnAndLeavesTheRestAlone) {
  BT_DATA trace{};
  trace.sequence_number = 77;
  trace.samples.length(1);
  trace.samples[0] = 7.0F;
  ExpectTakesOnly<BT_DATA>("trace", trace, [](const BT_DATA& out) {
    return out.sequence_number == 77 && out.samples.length() == 1 && out.samples[0] == 7.0F;
  });
  VALUE value{};
  value.val = 77.0;
  ExpectTakesOnly<VALUE>("value", value, [](const VALUE& out) { return out.val == 77.0; });
  ExpectTakesOnly<int>("long", 77, [](int out) { return out == 77; });
  ExpectTakesOnly<bool>("boolean", false, [](bool out) { return !out; });
}

TEST(FillVal, CopiesATraceDeeply) {
  BT_DATA out{};
  {
    CORBA::Any any;
    any <<= Trace();
    ASSERT_TRUE(FillVal<BT_DATA>(out, any));
    const BT_DATA* inside = nullptr;
    ASSERT_TRUE(any >>= inside);
    EXPECT_NE(inside->samples.get_buffer(), out.samples.get_buffer());
  }
  EXPECT_EQ(out.sequence_number, 5U);
  EXPECT_EQ(out.flags, 6U);
  EXPECT_EQ(out.header[0], 7U);
  EXPECT_EQ(out.header[11], 8U);
  EXPECT_EQ(out.units.base_power, -3);
  EXPECT_EQ(out.units.slots[4].unit, 9);
  EXPECT_EQ(out.x_step, 0.25);
  ASSERT_EQ(out.samples.length(), 2U);
  EXPECT_EQ(out.samples[0], 1.5F);
  EXPECT_EQ(out.samples[1], -1.5F);
}

TEST(FillVal, ATraceWithoutSamplesEmptiesTheBuffer) {
  BT_DATA empty{};
  CORBA::Any any;
  any <<= empty;
  BT_DATA out = Trace();
  ASSERT_TRUE(FillVal<BT_DATA>(out, any));
  EXPECT_EQ(out.samples.length(), 0U);
}

TEST(FillVal, TakesTheNumberItself) {
  CORBA::Any any;
  any <<= static_cast<CORBA::Long>(-2147483647 - 1);
  int out = 0;
  ASSERT_TRUE(FillVal<int>(out, any));
  EXPECT_EQ(out, -2147483647 - 1);
}

}  // namespace
}  // namespace Corvanta
