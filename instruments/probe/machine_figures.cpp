// SPDX-License-Identifier: Apache-2.0
#include "instruments/probe/machine_figures.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <stdexcept>

#include "platform/base/TextFile.h"

namespace Lumenar::Probe {
namespace {

std::string_view TakeWord(std::string_view& text) {
  text.remove_prefix(std::min(text.find_first_not_of(' '), text.size()));
  const std::string_view word = text.substr(0, text.find_first_of(" \n"));
  text.remove_prefix(word.size());
  return word;
}

std::optional<std::int64_t> TakeCount(std::string_view& text) {
  const std::string_view word = TakeWord(text);
  std::int64_t count = 0;
  const auto [stop, error] = std::from_chars(word.data(), word.data() + word.size(), count);
  const bool good = error == std::errc() && stop == word.data() + word.size() && count >= 0;
  return good ? std::optional(count) : std::nullopt;
}

}  // namespace

std::optional<CpuTimes> ParseCpuTimes(std::string_view stat) {
  enum { kUser, kNice, kSystem, kIdle, kIoWait, kIrq, kSoftIrq, kSteal, kFields };  // guest times are within user's
  if (TakeWord(stat) != "cpu") return std::nullopt;
  std::array<std::int64_t, kFields> ticks{};
  for (std::int64_t& count : ticks) {
    const auto taken = TakeCount(stat);
    if (!taken) return std::nullopt;
    count = *taken;
  }
  CpuTimes times;
  for (const std::int64_t count : ticks) times.total += count;
  times.busy = times.total - ticks[kIdle] - ticks[kIoWait];
  return times;
}

std::optional<Figure> CpuLoad(const CpuTimes& before, const CpuTimes& after) {
  const auto total = static_cast<double>(after.total - before.total);
  if (total <= 0) return std::nullopt;
  const double busy = std::clamp(static_cast<double>(after.busy - before.busy), 0.0, total);
  return Figure{100 * busy / total, -100 / total, 100 / total};
}

std::optional<double> ParseMemoryFree(std::string_view meminfo) {
  constexpr std::string_view kKey = "MemFree:";
  const std::size_t at = meminfo.find(kKey);
  if (at == std::string_view::npos) return std::nullopt;
  meminfo.remove_prefix(at + kKey.size());
  const auto kibibytes = TakeCount(meminfo);
  if (!kibibytes || TakeWord(meminfo) != "kB") return std::nullopt;
  return static_cast<double>(*kibibytes) * 1024;
}

void Spread::Add(double value) {
  if (!figure_) figure_ = Figure{value, value, value};
  figure_ = Figure{value, std::min(figure_->minus_err, value), std::max(figure_->plus_err, value)};
}

std::optional<Figure> Spread::Take() {
  if (!figure_) return std::nullopt;
  const Figure figure{figure_->value, figure_->minus_err - figure_->value, figure_->plus_err - figure_->value};
  figure_.reset();
  return figure;
}

std::optional<std::string> FileText(const std::filesystem::path& path) {
  constexpr std::size_t kLargest = std::size_t{1} << 24;
  try {
    return TextFile(path).Rest(kLargest);
  } catch (const std::runtime_error&) {
    return std::nullopt;
  }
}

}  // namespace Lumenar::Probe
