// SPDX-License-Identifier: Apache-2.0
#include "instruments/probe/ScalarReadings.h"

namespace Lumenar::Probe {
namespace {

constexpr Value::Units kPercent = Value::Make_unit(Value::U_Percent);
constexpr Value::Units kBytes = Value::Make_unit(Value::U_Byte);

Instruments::Number NumberOf(const Figure& figure, const Value::Units& units) {
  return {figure.value, units, figure.minus_err, figure.plus_err};
}

}  // namespace

ScalarReadings::ScalarReadings(const Instruments::Place& place, const std::filesystem::path& root)
    : root_(root), sensor_(TemperatureSensor::Find(root / "sys")) {
  Sample();
  const auto offer = [&](std::optional<Reading>& reading, const char* name, const std::optional<Figure>& first,
                         const Value::Units& units) {
    if (first) reading.emplace(place, name, NumberOf(*first, units));
  };
  offer(cpu_load_, "CPU_LOAD", TakeLoad(), kPercent);  // at first since the machine started
  offer(memory_free_reading_, "MEMORY_FREE", memory_free_.Take(), kBytes);
  offer(temperature_, "TEMPERATURE", sensor_ ? sensor_->Read() : std::nullopt, Value::C_DgreeC);
}

void ScalarReadings::Assign(std::optional<Reading>& reading, const std::optional<Figure>& figure,
                            const Value::Units& units) {
  if (reading && figure) reading->Publish(NumberOf(*figure, units));
}

std::optional<Figure> ScalarReadings::TakeLoad() {
  const auto text = FileText(root_ / "proc/stat");
  const auto times = text ? ParseCpuTimes(*text) : std::nullopt;
  if (!times) return std::nullopt;
  const auto load = CpuLoad(last_times_, *times);
  if (load) last_times_ = *times;
  return load;
}

void ScalarReadings::Sample() {
  const auto text = FileText(root_ / "proc/meminfo");
  const auto bytes = text ? ParseMemoryFree(*text) : std::nullopt;
  if (bytes) memory_free_.Add(*bytes);
}

void ScalarReadings::Publish() {
  Assign(cpu_load_, TakeLoad(), kPercent);
  Assign(memory_free_reading_, memory_free_.Take(), kBytes);
  if (sensor_) Assign(temperature_, sensor_->Read(), Value::C_DgreeC);
}

}  // namespace Lumenar::Probe
