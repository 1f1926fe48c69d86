// SPDX-License-Identifier: Apache-2.0
// Rows of all benchmarks, one JSON object a line on standard input: as one table, or with --json as one JSON list.
#include <fmt/format.h>

#include <exception>
#include <iostream>
#include <nlohmann/json.hpp>
#include <string>
#include <string_view>

namespace {

using Json = nlohmann::ordered_json;

std::string Number(const Json& member) {
  if (member.is_null()) return "-";
  const double number = member;
  return number >= 1000 ? fmt::format("{:.0f}", number) : fmt::format("{:.4g}", number);
}

std::string Verdict(const Json& met) { return met.is_null() ? "" : met.get<bool>() ? "met" : "MISSED"; }

void PrintTable(const Json& rows) {
  constexpr const char* kFormat = "{:<90} {:>10} {:<9} {:>10} {:>8} {:>8} {}\n";
  std::cout << fmt::format(fmt::runtime(kFormat), "figure", "value", "unit", "limit", "ratio", "target", "");
  int missed = 0;
  for (const Json& row : rows) {
    std::cout << fmt::format(fmt::runtime(kFormat), row.at("figure").get<std::string>(), Number(row.at("value")),
                             row.at("unit").get<std::string>(), Number(row.at("limit")), Number(row.at("ratio")),
                             Number(row.at("target")), Verdict(row.at("met")));
    missed += row.at("met") == false ? 1 : 0;
  }
  std::cout << fmt::format("{} figures, {} targets missed\n", rows.size(), missed);
}

}  // namespace

int main(int argc, char** argv) {
  try {
    Json rows = Json::array();
    for (std::string line; std::getline(std::cin, line);) rows.push_back(Json::parse(line));
    if (argc > 1 && argv[1] == std::string_view("--json")) {
      std::cout << rows.dump(2) << std::endl;
    } else {
      PrintTable(rows);
    }
  } catch (const std::exception& failure) {
    std::cerr << "figures_table: " << failure.what() << std::endl;
    return 1;
  }
}
