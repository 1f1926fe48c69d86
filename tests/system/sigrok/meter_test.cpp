// SPDX-License-Identifier: Apache-2.0
// A multimeter at a serial port, played packet by packet: units, flags, digits and overload.
#include <cmath>
#include <limits>
#include <stdexcept>

#include "GuiAble.hh"
#include "tests/system/sigrok/SigrokFixture.h"

namespace Lumenar::Test {
namespace {

using testing::HasSubstr;
using testing::Not;

using Shown = SerialMeter::Display;

const Shown kVolts{"+1234", '1', SerialMeter::kDc | SerialMeter::kAutoRange, 0, 0, SerialMeter::kVolt};  // 1.234 V DC
const Shown kMillivolts{"-0056", '2', SerialMeter::kAc, 0, SerialMeter::kMilli, SerialMeter::kVolt};     // -0.56 mV AC
const Shown kOverload{"+?0:?", '0', SerialMeter::kAutoRange, 0, SerialMeter::kMega, SerialMeter::kOhm};
const Shown kLargestCurrent{"+0100", '4', SerialMeter::kDc, SerialMeter::kMax, 0, SerialMeter::kAmpere};  // 10.0 A
const Shown kHeld{"+4321", '1', SerialMeter::kDc | SerialMeter::kHold, 0, 0, SerialMeter::kVolt};         // 4.321 V
const Shown kLater{"+5678", '1', SerialMeter::kDc, 0, 0, SerialMeter::kVolt};                             // 5.678 V

class MeterAtASerialPort : public SigrokFixture {
 protected:
  Scalar Present(const std::string& item) {
    const Corvanta::EngineReadingBase_var reading = ReadingOf(item);
    const Corvanta::EngineReadingValueDouble_var number = Corvanta::EngineReadingValueDouble::_narrow(reading);
    return number->Get();
  }

  /// Waits until a reading has a value.
  void ExpectValue(const std::string& item, double value) {
    EXPECT_TRUE(WaitUntil([&] { return std::abs(Present(item).val - value) < 1e-6; }, kPatience))
        << item << ' ' << Present(item).val;
  }

 private:
  Corvanta::EngineReadingBase_ptr ReadingOf(const std::string& item) {
    const CORBA::Object_var object = bench_.Orb().Resolve({"Lumenar", "local", "SIGROK", "1"});
    const Corvanta::GUI_Able_var engine = Corvanta::GUI_Able::_narrow(object);
    const Corvanta::ItemSeq_var owner = engine->Items();
    const Corvanta::ItemSeq& items = owner.in();
    for (CORBA::ULong i = 0; i < items.length(); ++i) {
      if (items[i].name.in() == item) return Corvanta::EngineReadingBase::_duplicate(items[i].reference);
    }
    throw std::runtime_error("no reading " + item);
  }
};

TEST_F(MeterAtASerialPort, UnitsAndFlagsAreThoseOfEachPacket) {
  SerialMeter meter(kVolts);
  Process& engine = StartSigrok(Meter(meter));
  ExpectReading(engine, "P1_VOLTAGE_DC");
  const Scalar volts = Present("P1_VOLTAGE_DC");
  EXPECT_NEAR(volts.val, 1.234, 1e-6);
  EXPECT_EQ(UnitsOf(volts), Value::Make_unit(Value::U_Volt));
  EXPECT_DOUBLE_EQ(volts.minus_err, -0.001) << "one count of the last digit";
  EXPECT_DOUBLE_EQ(volts.plus_err, 0.001);

  meter.Show(kMillivolts);
  ExpectReading(engine, "P1_VOLTAGE_AC");
  const Scalar millivolts = Present("P1_VOLTAGE_AC");
  EXPECT_NEAR(millivolts.val, -0.56e-3, 1e-9);
  EXPECT_DOUBLE_EQ(millivolts.plus_err, 1e-5);

  meter.Show(kOverload);
  ExpectReading(engine, "P1_RESISTANCE");
  const Scalar overload = Present("P1_RESISTANCE");
  EXPECT_EQ(overload.val, std::numeric_limits<double>::infinity());
  EXPECT_EQ(UnitsOf(overload), Value::Make_unit(Value::U_Ohm));
  EXPECT_EQ(overload.plus_err, 0);

  meter.Show(kLargestCurrent);
  ExpectReading(engine, "P1_CURRENT_DC_MAX");
  EXPECT_NEAR(Present("P1_CURRENT_DC_MAX").val, 10, 1e-5);
  EXPECT_NEAR(Present("P1_VOLTAGE_DC").val, 1.234, 1e-6) << "keeps its value";
}

TEST_F(MeterAtASerialPort, WhatItHoldsIsNotMeasured) {
  SerialMeter meter(kVolts);
  Process& engine = StartSigrok(Meter(meter));
  ExpectReading(engine, "P1_VOLTAGE_DC");
  const Watcher<Scalar> watcher(TopicOf("P1_VOLTAGE_DC"));
  meter.Show(kHeld);
  ASSERT_TRUE(WaitUntil([&] { return meter.Sent() >= 5; }));
  meter.Show(kLater);
  ASSERT_TRUE(WaitUntil([&] { return !watcher.All().empty() && std::abs(watcher.All().back().val - 5.678) < 1e-5; }));
  for (const Scalar& value : watcher.All()) EXPECT_GT(std::abs(value.val - 4.321), 1e-3);
}

TEST_F(MeterAtASerialPort, ItsErrorIsThatOfTheDataSheetWhereItIsTold) {
  const SerialMeter meter(kVolts);
  Process& engine = StartSigrok(Meter(meter, {{"SIGROK_ERROR", "P1_VOLTAGE_DC = 0.5 % + 0.003; 1 %"}}));
  ExpectReading(engine, "P1_VOLTAGE_DC");
  EXPECT_NEAR(Present("P1_VOLTAGE_DC").plus_err, 0.00917, 1e-7);
}

TEST_F(MeterAtASerialPort, SwitchedOffAndOnItMeasuresAgain) {
  SerialMeter meter(kVolts);
  Process& engine =
      StartSigrok(Meter(meter, {{"SIGROK_SILENCE", "0.5"}, {"SIGROK_SCAN_LIMIT", "5"}, {"SIGROK_RETRY", "0.2"}}));
  ExpectReading(engine, "P1_VOLTAGE_DC");
  meter.SwitchOff();
  EXPECT_TRUE(engine.WaitForLine("SIGROK: " + meter.Device() +
                                     " is gone, and its readings keep their value: no device answers; it is looked for "
                                     "every 0.2 s",
                                 kPatience))
      << engine.Error();
  EXPECT_NEAR(Present("P1_VOLTAGE_DC").val, 1.234, 1e-6);
  meter.Show(kLater);
  meter.SwitchOn();
  EXPECT_TRUE(engine.WaitForLine("SIGROK: " + meter.Device() + " measures again", kPatience)) << engine.Error();
  ExpectValue("P1_VOLTAGE_DC", 5.678);
  EXPECT_THAT(Mathctl({"readings"}), Not(HasSubstr("P1_VOLTAGE_DC.2"))) << "the reading is the same";
}

TEST_F(MeterAtASerialPort, AnotherReaderReadsTheSame) {
  if (std::system("command -v sigrok-cli >/dev/null") != 0) GTEST_SKIP() << "sigrok-cli is not there";
  const SerialMeter meter(kVolts);
  Process reader({"sigrok-cli", "-d", meter.Device(), "--samples", "2"}, SerialMeter::AsSerialPort());
  ASSERT_EQ(reader.WaitForExit(kPatience), 0) << reader.Error();
  EXPECT_THAT(reader.Out(), HasSubstr("P1: 1.234 V DC"));
}

TEST_F(MeterAtASerialPort, DiscoverFindsIt) {
  const SerialMeter meter(kVolts);
  const auto process = platform_.Start("mathctl", {"discover", meter.Device(), "--json"}, SerialMeter::AsSerialPort());
  EXPECT_EQ(process->WaitForExit(kPatience), 0) << process->Error();
  EXPECT_THAT(process->Out(), HasSubstr("\"setting\":\"SIGROK_DEVICE=" + meter.Device() + "\",\"channels\":[\"P1\"]"));
}

}  // namespace
}  // namespace Lumenar::Test
