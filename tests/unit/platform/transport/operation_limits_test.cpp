// SPDX-License-Identifier: Apache-2.0
// The table of limits, the interface definitions and the page that shows the table say the same.
#include "platform/transport/operation_limits.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <regex>
#include <set>
#include <sstream>

namespace Corvanta {
namespace {

const std::filesystem::path kSource = SOURCE_DIRECTORY;

std::string ReadAll(const std::filesystem::path& file) {
  std::ifstream in(file);
  std::stringstream text;
  text << in.rdbuf();
  return text.str();
}

/// The operations of all interfaces, without comments.
std::set<std::string> OperationsOfTheIdl() {
  std::set<std::string> operations;
  const std::regex comment("//[^\n]*");
  const std::regex operation("([A-Za-z_][A-Za-z0-9_]*)\\s*\\(");
  for (const auto& entry : std::filesystem::directory_iterator(kSource / "idl")) {
    if (entry.path().extension() != ".idl") continue;
    const std::string text = std::regex_replace(ReadAll(entry.path()), comment, "");
    EXPECT_EQ(text.find("attribute "), std::string::npos) << entry.path() << ": attributes need rows of their own";
    for (std::sregex_iterator found(text.begin(), text.end(), operation), end; found != end; ++found)
      if ((*found)[1] != "raises") operations.insert((*found)[1]);
  }
  return operations;
}

const char* TextOf(MessageLimit limit) {
  switch (limit) {
    case MessageLimit::Plain: return "16 KiB";
    default: return "`orb.max_message_bytes`";
  }
}

/// "request|answer" by operation, from rows "| `operation`, `operation` | what | request | answer |".
std::map<std::string, std::string> RowsOfThePage() {
  std::map<std::string, std::string> rows;
  const std::regex row("\\| (`[A-Za-z_`, ]+) \\| [^|\n]+ \\| ([^|\n]+) \\| ([^|\n]+) \\|\n");
  const std::regex name("`([A-Za-z_]+)`");
  const std::string page = ReadAll(kSource / "docs" / "reliability.md");
  for (std::sregex_iterator found(page.begin(), page.end(), row), end; found != end; ++found) {
    const std::string names = (*found)[1];
    for (std::sregex_iterator each(names.begin(), names.end(), name); each != end; ++each)
      rows[(*each)[1]] = (*found)[2].str() + "|" + (*found)[3].str();
  }
  return rows;
}

TEST(operation_limits, EveryOperationHasARow) {
  std::set<std::string> rows;
  for (const OperationLimit& row : OperationLimits())
    if (row.what.substr(0, 6) != "naming") rows.emplace(row.operation);
  EXPECT_EQ(rows, OperationsOfTheIdl());
}

TEST(operation_limits, ThePageShowsTheTable) {
  const std::map<std::string, std::string> page = RowsOfThePage();
  for (const OperationLimit& row : OperationLimits()) {
    const std::string name(row.operation);
    const std::string limits = std::string(TextOf(row.request)) + "|" + TextOf(row.answer);
    const auto shown = page.find(name);
    if (limits == "16 KiB|16 KiB" && shown == page.end()) continue;  // "all others"
    ASSERT_NE(shown, page.end()) << name << " is not on the page: " << limits;
    EXPECT_EQ(shown->second, limits) << name;
  }
}

TEST(operation_limits, WhatHasNoRowIsPlain) {
  EXPECT_EQ(RequestLimit("_is_a"), MessageLimit::Plain);
  EXPECT_EQ(AnswerLimit("resolve"), MessageLimit::Plain);
  EXPECT_EQ(RequestLimit("Publish"), MessageLimit::Sample);
  EXPECT_EQ(RequestLimit("CreateMath"), MessageLimit::Plain);
}

}  // namespace
}  // namespace Corvanta
