// SPDX-License-Identifier: Apache-2.0
// Every input that a fuzz target once started from or stumbled over, in every test run; and each of their beginnings,
// since a text that ends early is the commonest fault of all.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "tests/fuzz/Violation.h"
#include "tests/fuzz/targets.h"

namespace Lumenar::Fuzz {
namespace {

namespace fs = std::filesystem;

struct Subject {
  const char* name;
  Target target;
};

void PrintTo(const Subject& subject, std::ostream* stream) { *stream << subject.name; }

constexpr Subject kSubjects[] = {
    {"any_record", AnyRecord},
    {"message_stream", MessageStream},
    {"units_algebra", UnitsAlgebra},
    {"values", Values},
    {"units_text", UnitsText},
    {"transport_settings", TransportSettings},
    {"state_files", StateFiles},
    {"touchstone", Touchstone},
    {"spectrum", Spectrum},
    {"two_columns", TwoColumns},
    {"otdr", Otdr},
    {"session_file", SessionFile},
    {"sample_csv", SampleCsv},
    {"recording_lines", RecordingLines},
    {"sim_items", SimItems},
    {"scpi_answers", ScpiAnswers},
    {"scpi_devices", ScpiDevices},
    {"tool_output", ToolOutput},
    {"tool_input", ToolInput},
    {"web_messages", WebMessages},
};

std::vector<fs::path> FilesOf(const Subject& subject) {
  std::vector<fs::path> files;
  for (const auto& entry : fs::directory_iterator(fs::path(FUZZ_CORPUS) / subject.name)) files.push_back(entry.path());
  std::sort(files.begin(), files.end());
  return files;
}

std::vector<std::uint8_t> ContentsOf(const fs::path& file) {
  std::ifstream stream(file, std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), {}};
}

/// What went wrong; empty when nothing did.
std::string Fault(Target target, Bytes input) {
  try {
    target(input);
    return {};
  } catch (const Violation& violation) {
    return violation.rule;
  } catch (const std::exception& exception) {
    return std::string("left by an exception: ") + exception.what();
  }
}

class Corpus : public testing::TestWithParam<Subject> {};

TEST_P(Corpus, HoldsAsAWholeAndCutAnywhere) {
  constexpr std::size_t kLongest = 1024;
  const auto files = FilesOf(GetParam());
  ASSERT_FALSE(files.empty());
  for (const fs::path& file : files) {
    const std::vector<std::uint8_t> contents = ContentsOf(file);
    EXPECT_LE(contents.size(), kLongest) << file << " is too large for the corpus";
    for (std::size_t length = 0; length <= contents.size(); ++length) {
      EXPECT_EQ(Fault(GetParam().target, Bytes(contents).first(length)), "")
          << file << ", " << length << " bytes of it";
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Fuzz, Corpus, testing::ValuesIn(kSubjects), [](const auto& test) { return test.param.name; });

TEST(Corpus, HasNoFolderWithoutATarget) {
  for (const auto& entry : fs::directory_iterator(FUZZ_CORPUS)) {
    const std::string name = entry.path().filename().string();
    EXPECT_TRUE(std::any_of(std::begin(kSubjects), std::end(kSubjects), [&](const Subject& subject) {
      return subject.name == name;
    })) << name;
  }
}

}  // namespace
}  // namespace Lumenar::Fuzz
