// SPDX-License-Identifier: Apache-2.0
#include "bench/Figures.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <nlohmann/json.hpp>
#include <stdexcept>

namespace Lumenar::Bench {
namespace {

template <class T>
nlohmann::ordered_json OrNull(const std::optional<T>& value) {
  return value ? nlohmann::ordered_json(*value) : nlohmann::ordered_json(nullptr);
}

std::string OrDash(const std::optional<double>& value) { return value ? fmt::format("{:.4g}", *value) : "-"; }

}  // namespace

Figure AtMost(std::string figure, double value, std::string unit, std::optional<double> limit,
              std::optional<double> target) {
  Figure row{std::move(figure), value, std::move(unit), limit, {}, target, {}};
  if (limit) row.ratio = value / *limit;
  if (row.ratio && target) row.met = *row.ratio <= *target;
  return row;
}

Figure FasterThan(std::string figure, double value, std::string unit, std::optional<double> limit,
                  std::optional<double> target) {
  Figure row{std::move(figure), value, std::move(unit), limit, {}, target, {}};
  if (limit) row.ratio = *limit / value;
  if (row.ratio && target) row.met = *row.ratio >= *target;
  return row;
}

Figure Plain(std::string figure, double value, std::string unit, std::optional<double> target) {
  Figure row{std::move(figure), value, std::move(unit), {}, {}, target, {}};
  if (target) row.met = value <= *target;
  return row;
}

std::string JsonLine(const Figure& figure) {
  nlohmann::ordered_json object;
  object["figure"] = figure.figure;
  object["value"] = OrNull(figure.value);
  object["unit"] = figure.unit;
  object["limit"] = OrNull(figure.limit);
  object["ratio"] = OrNull(figure.ratio);
  object["target"] = OrNull(figure.target);
  object["met"] = OrNull(figure.met);
  return object.dump();
}

void Report(const std::vector<Figure>& figures) {
  const char* path = std::getenv("LUMENAR_FIGURES");
  if (path == nullptr) {
    for (const Figure& row : figures) {
      std::cout << fmt::format("{:<76} {:>10} {:<6} {:>10} {:>8} {:>8} {}\n", row.figure, OrDash(row.value), row.unit,
                               OrDash(row.limit), OrDash(row.ratio), OrDash(row.target),
                               row.met ? (*row.met ? "met" : "MISSED") : "-");
    }
    std::cout.flush();
    return;
  }
  std::ofstream file(path, std::ios::app);
  for (const Figure& row : figures) file << JsonLine(row) << '\n';
  if (!file.flush()) throw std::runtime_error(fmt::format("cannot write figures to {}", path));
}

double Median(std::vector<double> values) { return Quantile(std::move(values), 0.5); }

double Quantile(std::vector<double> values, double share) {
  if (values.empty()) throw std::invalid_argument("no values");
  const auto index = std::min(values.size() - 1, static_cast<std::size_t>(share * static_cast<double>(values.size())));
  std::nth_element(values.begin(), values.begin() + static_cast<std::ptrdiff_t>(index), values.end());
  return values[index];
}

}  // namespace Lumenar::Bench
