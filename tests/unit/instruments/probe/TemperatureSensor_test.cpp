// SPDX-License-Identifier: Apache-2.0
#include "instruments/probe/TemperatureSensor.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <fstream>
#include <string>

namespace Lumenar::Probe {
namespace {

namespace fs = std::filesystem;

class TemperatureSensorTest : public testing::Test {
 protected:
  TemperatureSensorTest() : sys_(fs::temp_directory_path() / ("temperature_sensor_test." + std::to_string(getpid()))) {}
  ~TemperatureSensorTest() override { fs::remove_all(sys_); }

  void Write(const std::string& file, const std::string& text) {
    fs::create_directories((sys_ / file).parent_path());
    std::ofstream(sys_ / file) << text;
  }

  const fs::path sys_;
};

TEST_F(TemperatureSensorTest, NoneWhereTheMachineHasNone) { EXPECT_FALSE(TemperatureSensor::Find(sys_)); }

TEST_F(TemperatureSensorTest, TheFirstThatCanBeReadIsTaken) {
  Write("class/hwmon/hwmon0/temp1_input", "30000\n");
  Write("class/hwmon/hwmon0/temp1_crit", "90000\n");
  EXPECT_EQ(TemperatureSensor::Find(sys_)->Read()->value, 30);
  Write("class/thermal/cooling_device0/temp", "1000\n");
  Write("class/thermal/thermal_zone1/temp", "40000\n");
  Write("class/thermal/thermal_zone0/temp", "broken\n");
  EXPECT_EQ(TemperatureSensor::Find(sys_)->Read()->value, 40);
}

TEST_F(TemperatureSensorTest, TheBandIsHalfTheFinestStepSeen) {
  Write("temp", "45000\n");
  TemperatureSensor sensor(sys_ / "temp");
  struct {
    const char* text;
    double value, half_step;
  } const cases[] = {
      {"45000", 45, 0.5}, {"0", 0, 0.5}, {"45500", 45.5, 0.25}, {"-3000", -3, 0.25}, {"45125", 45.125, 0.0625}};
  for (const auto& test : cases) {
    Write("temp", test.text);
    const auto figure = sensor.Read();
    ASSERT_TRUE(figure) << test.text;
    EXPECT_EQ(figure->value, test.value);
    EXPECT_EQ(figure->minus_err, -test.half_step) << test.text;
    EXPECT_EQ(figure->plus_err, test.half_step) << test.text;
  }
  fs::remove(sys_ / "temp");
  EXPECT_FALSE(sensor.Read());
}

}  // namespace
}  // namespace Lumenar::Probe
