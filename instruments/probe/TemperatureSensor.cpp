// SPDX-License-Identifier: Apache-2.0
#include "instruments/probe/TemperatureSensor.h"

#include <algorithm>
#include <charconv>
#include <numeric>
#include <string>
#include <system_error>
#include <vector>

namespace Lumenar::Probe {
namespace {

namespace fs = std::filesystem;

std::vector<fs::path> EntriesOf(const fs::path& directory) {
  std::error_code error;
  std::vector<fs::path> entries;
  for (fs::directory_iterator entry(directory, error), end; !error && entry != end; entry.increment(error)) {
    entries.push_back(entry->path());
  }
  std::sort(entries.begin(), entries.end());
  return entries;
}

std::vector<fs::path> Candidates(const fs::path& sys) {
  std::vector<fs::path> files;
  for (const fs::path& zone : EntriesOf(sys / "class/thermal")) {
    if (zone.filename().string().rfind("thermal_zone", 0) == 0) files.push_back(zone / "temp");
  }
  for (const fs::path& monitor : EntriesOf(sys / "class/hwmon")) {
    for (const fs::path& file : EntriesOf(monitor)) {
      const std::string name = file.filename().string();
      if (name.rfind("temp", 0) == 0 && name.find("_input") != std::string::npos) files.push_back(file);
    }
  }
  return files;
}

}  // namespace

std::optional<TemperatureSensor> TemperatureSensor::Find(const fs::path& sys) {
  for (const fs::path& file : Candidates(sys)) {
    TemperatureSensor sensor(file);
    if (sensor.Read()) return sensor;
  }
  return std::nullopt;
}

std::optional<Figure> TemperatureSensor::Read() {
  const auto text = FileText(file_);
  if (!text) return std::nullopt;
  std::int64_t mdegC = 0;
  const auto [stop, error] = std::from_chars(text->data(), text->data() + text->size(), mdegC);
  if (error != std::errc()) return std::nullopt;
  step_mdegC_ = std::gcd(step_mdegC_, mdegC);
  const double half_step = static_cast<double>(step_mdegC_) / 2000;
  return Figure{static_cast<double>(mdegC) / 1000, -half_step, half_step};
}

}  // namespace Lumenar::Probe
