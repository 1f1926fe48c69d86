// SPDX-License-Identifier: Apache-2.0
// The examples of docs/numbers.md, read from the page and computed by the operations. Each is a line of its own:
//
//     OPERATION  inputs  ->  results      # words for the reader
//
// Inputs of Subtract and RelativeSubtract are two values, those of CumulativeAdd are "TRACE from START to STOP", those
// of Average and Peak are samples, among them SIZE n and RESET. Results are RESULT after each sample and each RESET;
// "nothing" where none is published. A value is "10 dBm", a trace "[10 7] dBm", a value with its errors "6 (-1 +1) W".
// What is written with decimals is right to half a unit of the last of them.
#include <gtest/gtest.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <fstream>
#include <iterator>
#include <set>
#include <stdexcept>

#include "Common_Math/src/Builders.h"
#include "tests/support/OperationFixture.h"

namespace Lumenar::Test {
namespace {

using Corvanta::MathFactory::Math_var;

std::string Trimmed(const std::string& text) {
  const std::size_t begin = text.find_first_not_of(' ');
  return begin == std::string::npos ? "" : text.substr(begin, text.find_last_not_of(' ') - begin + 1);
}

std::vector<std::string> Split(const std::string& text, char separator) {
  std::vector<std::string> parts;
  std::istringstream stream(text);
  for (std::string part; std::getline(stream, part, separator);) {
    if (!Trimmed(part).empty()) parts.push_back(Trimmed(part));
  }
  return parts;
}

/// The text before a mark, and behind it.
std::pair<std::string, std::string> Halves(const std::string& text, const std::string& mark) {
  const std::size_t at = text.find(mark);
  if (at == std::string::npos) throw std::invalid_argument("no '" + mark + "' in '" + text + "'");
  return {Trimmed(text.substr(0, at)), Trimmed(text.substr(at + mark.size()))};
}

/// A number, and how far a result may be from it.
struct WrittenNumber {
  double number = 0;
  double tolerance = 0;

  bool Fits(double result) const {
    if (std::isnan(number)) return std::isnan(result);
    return result == number || std::abs(result - number) <= tolerance;
  }
};

WrittenNumber NumberOf(const std::string& text) {
  const std::string unsigned_text = text.substr(text.find_first_not_of('+'));
  WrittenNumber written;
  const char* const end = unsigned_text.data() + unsigned_text.size();
  if (std::from_chars(unsigned_text.data(), end, written.number).ptr != end)
    throw std::invalid_argument("no number: " + text);
  const std::size_t point = text.find('.');
  written.tolerance = point == std::string::npos ? 1e-5 * std::max(1.0, std::abs(written.number))
                                                 : 0.501 * std::pow(10.0, -double(text.size() - point - 1));
  return written;
}

std::vector<WrittenNumber> NumbersOf(const std::string& text) {
  std::vector<WrittenNumber> numbers;
  for (const std::string& part : Split(text, ' ')) numbers.push_back(NumberOf(part));
  return numbers;
}

struct WrittenValue {
  bool is_trace = false;
  std::vector<WrittenNumber> numbers;
  std::vector<WrittenNumber> errors;  ///< minus and plus, or none written
  Value::Units units;
};

WrittenValue ValueOf(const std::string& text) {
  WrittenValue value;
  value.is_trace = text.front() == '[';
  auto [number, rest] = value.is_trace ? Halves(text.substr(1), "]") : Halves(text + " ", " ");
  value.numbers = NumbersOf(number);
  if (!rest.empty() && rest.front() == '(' && std::string("+-0123456789").find(rest.at(1)) != std::string::npos) {
    const auto [errors, unit] = Halves(rest.substr(1), ")");
    value.errors = NumbersOf(errors);
    rest = unit;
  }
  value.units = Value::Units_from_text(rest);
  return value;
}

Scalar RecordOf(const WrittenValue& value, const Scalar*) {
  if (value.errors.empty()) return ScalarOf(value.numbers.at(0).number, value.units);
  return ScalarOf(value.numbers.at(0).number, value.units, value.errors.at(0).number, value.errors.at(1).number);
}

BT_DATA RecordOf(const WrittenValue& value, const BT_DATA*) {
  std::vector<float> samples;
  for (const WrittenNumber& number : value.numbers) samples.push_back(static_cast<float>(number.number));
  return TraceOf(samples, value.units);
}

void Compare(const Scalar& result, const WrittenValue& expected) {
  EXPECT_FALSE(expected.is_trace);
  EXPECT_EQ(UnitsOf(result), expected.units) << Value::Units_text(UnitsOf(result));
  EXPECT_TRUE(expected.numbers.at(0).Fits(result.val)) << result.val;
  if (expected.errors.empty()) return;
  EXPECT_TRUE(expected.errors.at(0).Fits(result.minus_err)) << result.minus_err;
  EXPECT_TRUE(expected.errors.at(1).Fits(result.plus_err)) << result.plus_err;
}

void Compare(const BT_DATA& result, const WrittenValue& expected) {
  EXPECT_TRUE(expected.is_trace);
  EXPECT_EQ(UnitsOf(result), expected.units) << Value::Units_text(UnitsOf(result));
  ASSERT_EQ(result.samples.length(), expected.numbers.size());
  for (CORBA::ULong i = 0; i < result.samples.length(); ++i) {
    EXPECT_TRUE(expected.numbers[i].Fits(double(result.samples[i]))) << "sample " << i << ": " << result.samples[i];
  }
}

class NumbersPage : public OperationFixture {
 protected:
  void Run(const std::string& line) {
    const auto [question, answer] = Halves(line.substr(0, line.find('#')), "->");
    const auto [operation, inputs] = Halves(question, " ");
    const std::vector<std::string> results = Split(answer, ',');
    operations_.insert(operation);
    if (operation == "CumulativeAdd") return RunSum(inputs, results);
    const bool traces = inputs.find('[') != std::string::npos;
    if (operation == "Average" || operation == "Peak") {
      traces ? RunSamples<TraceInput, BT_DATA>(operation, inputs, results)
             : RunSamples<ScalarInput, Scalar>(operation, inputs, results);
    } else {
      traces ? RunPair<TraceInput, BT_DATA>(operation, inputs, results)
             : RunPair<ScalarInput, Scalar>(operation, inputs, results);
    }
  }

  std::set<std::string> operations_;

 private:
  static int TypeOf(const std::string& operation) {
    const auto all = Operations();
    const auto found = std::find_if(all.begin(), all.end(), [&](const auto& row) { return row.name == operation; });
    if (found == all.end()) throw std::invalid_argument("no operation: " + operation);
    return static_cast<int>(found - all.begin());
  }

  static Scalar Result(const Math_var& math, const Scalar*) { return ScalarResult(math); }
  static BT_DATA Result(const Math_var& math, const BT_DATA*) { return TraceResult(math); }

  std::size_t Published(const Math_var& math) { return Manager().PublishedOn(ResultTopic(math)).size(); }

  /// RESULT is the one that is written, or none was published since there were `published`.
  template <class Record>
  void Check(const Math_var& math, std::size_t published, const std::string& expected) {
    SCOPED_TRACE("expected: " + expected);
    EXPECT_EQ(Published(math), published + (expected == "nothing" ? 0 : 1));
    if (expected != "nothing") Compare(Result(math, static_cast<const Record*>(nullptr)), ValueOf(expected));
  }

  template <class Input, class Record>
  void RunPair(const std::string& operation, const std::string& inputs, const std::vector<std::string>& results) {
    const auto [first, second] = Halves(inputs, ",");
    const Record* const kind = nullptr;
    Input a(namer_, registration_, RecordOf(ValueOf(first), kind));
    Input b(namer_, registration_, RecordOf(ValueOf(second), kind));
    Check<Record>(Create(TypeOf(operation), {a, b}), 0, results.at(0));
    EXPECT_EQ(results.size(), 1u);
  }

  void RunSum(const std::string& inputs, const std::vector<std::string>& results) {
    const auto [trace, range] = Halves(inputs, "from");
    const auto [start, stop] = Halves(range, "to");
    trace_ = RecordOf(ValueOf(trace), static_cast<const BT_DATA*>(nullptr));
    start_ = static_cast<int>(NumberOf(start).number);
    stop_ = static_cast<int>(NumberOf(stop).number);
    Check<Scalar>(Create(CumulativeAdd, {trace_, start_, stop_}), 0, results.at(0));
    EXPECT_EQ(results.size(), 1u);
  }

  /// One step of an Average or a Peak with `input`. Whether it has a result.
  template <class Record, class Input>
  bool Step(const std::string& step, Math_var& math, const std::string& operation, Input& input) {
    if (step == "RESET") {
      operation == "Peak" ? Reset<Corvanta::MathFactory::Peak>(math) : Reset<Corvanta::MathFactory::Average>(math);
      return operation == "Average";
    }
    const Record sample = RecordOf(ValueOf(step), static_cast<const Record*>(nullptr));
    if (CORBA::is_nil(math)) {
      input = sample;
      math = Create(TypeOf(operation), {input});
    } else {
      try {
        Deliver(input, sample);
      } catch (const CORBA::UNKNOWN&) {  // refused
      } catch (const Corvanta::MathFactory::MathFactoryException&) {}
    }
    return true;
  }

  template <class Input, class Record>
  void RunSamples(const std::string& operation, const std::string& inputs, const std::vector<std::string>& results) {
    Input input(namer_, registration_, DefaultRecord<Record>());
    Math_var math;
    int size = 1;
    auto result = results.begin();
    for (const std::string& step : Split(inputs, ',')) {
      const bool sets_size = step.compare(0, 4, "SIZE") == 0;
      if (sets_size) size = static_cast<int>(NumberOf(Trimmed(step.substr(4))).number);
      const std::size_t published = CORBA::is_nil(math) ? 0 : Published(math);
      const bool has_result = !sets_size && Step<Record>(step, math, operation, input);
      if (operation == "Average" && !CORBA::is_nil(math)) SetSize(math, size);
      if (!has_result) continue;
      if (result == results.end()) throw std::invalid_argument("no result for " + step);
      Check<Record>(math, published, *result++);
    }
    EXPECT_TRUE(result == results.end()) << "results without a sample";
  }
};

TEST_F(NumbersPage, EveryExampleIsSo) {
  std::ifstream page(SOURCE_DIRECTORY "/docs/numbers.md");
  int examples = 0;
  for (std::string line; std::getline(page, line);) {
    if (line.compare(0, 4, "    ") != 0) continue;
    SCOPED_TRACE(line);
    ASSERT_NO_THROW(Run(Trimmed(line)));
    ++examples;
  }
  EXPECT_GE(examples, 25);
  EXPECT_EQ(operations_.size(), Operations().size());
}

std::string TextOf(const std::string& page) {
  std::ifstream file(SOURCE_DIRECTORY "/" + page);
  return {std::istreambuf_iterator<char>(file), {}};
}

TEST(OperationsOnPages, StandWithTheirNumbersInTheMapOfTheInterfaceAndByNameInTheFirstPage) {
  const std::string map = TextOf("docs/interfaces.md"), first = TextOf("README.md");
  for (std::size_t i = 0; i < Operations().size(); ++i) {
    const std::string name = Operations()[i].name;
    EXPECT_NE(map.find(std::to_string(i) + " " + name), std::string::npos) << name;
    EXPECT_NE(first.find(name), std::string::npos) << name;
  }
}

}  // namespace
}  // namespace Lumenar::Test
