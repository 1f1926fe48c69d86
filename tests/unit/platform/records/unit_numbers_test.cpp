// SPDX-License-Identifier: Apache-2.0
// The numbers of the units, which travel in records: written out here once more, against the enumeration, the constants
// of the interface definition and the table for client authors.
#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <sstream>
#include <string>
#include <vector>

#include "VALUE_UNITS.hh"
#include "platform/units/unit_table.h"

namespace Lumenar::Test {
namespace {

namespace Constants = Corvanta::VALUE_UNITS;

struct NumberedUnit {
  int number;
  Value::Units_list unit;
  CORBA::Long constant;
  const char* name;
  const char* symbol;
};

// clang-format off
const NumberedUnit kUnits[] = {
    {0,  Value::U_None,            Constants::U_None,            "U_None",             ""},
    {1,  Value::U_Watt,            Constants::U_Watt,            "U_Watt",             "W"},
    {2,  Value::U_Volt,            Constants::U_Volt,            "U_Volt",             "V"},
    {3,  Value::U_Ampere,          Constants::U_Ampere,          "U_Ampere",           "A"},
    {4,  Value::U_Ohm,             Constants::U_Ohm,             "U_Ohm",              "ohm"},
    {5,  Value::U_Hertz,           Constants::U_Hertz,           "U_Hertz",            "Hz"},
    {6,  Value::U_Second,          Constants::U_Second,          "U_Second",           "s"},
    {7,  Value::U_Meter,           Constants::U_Meter,           "U_Meter",            "m"},
    {8,  Value::U_Percent,         Constants::U_Percent,         "U_Percent",          "%"},
    {9,  Value::U_PartsPerMillion, Constants::U_PartsPerMillion, "U_PartsPerMillion",  "ppm"},
    {10, Value::U_PartsPerBillion, Constants::U_PartsPerBillion, "U_PartsPerBillion",  "ppb"},
    {11, Value::U_DegreeC,         Constants::U_DegreeC,         "U_DegreeC",          "degC"},
    {12, Value::U_DegreeF,         Constants::U_DegreeF,         "U_DegreeF",          "degF"},
    {13, Value::U_Kelvin,          Constants::U_Kelvin,          "U_Kelvin",           "K"},
    {14, Value::U_Radian,          Constants::U_Radian,          "U_Radian",           "rad"},
    {15, Value::U_Degree,          Constants::U_Degree,          "U_Degree",           "deg"},
    {16, Value::U_Foot,            Constants::U_Foot,            "U_Foot",             "ft"},
    {17, Value::U_Inch,            Constants::U_Inch,            "U_Inch",             "in"},
    {18, Value::U_Bit,             Constants::U_Bit,             "U_Bit",              "bit"},
    {19, Value::U_Byte,            Constants::U_Byte,            "U_Byte",             "B"},
    {20, Value::U_Sample,          Constants::U_Sample,          "U_Sample",           "Sa"},
    {21, Value::U_Farad,           Constants::U_Farad,           "U_Farad",            "F"},
    {22, Value::U_Henry,           Constants::U_Henry,           "U_Henry",            "H"},
    {23, Value::U_Coulomb,         Constants::U_Coulomb,         "U_Coulomb",          "C"},
    {24, Value::U_Joule,           Constants::U_Joule,           "U_Joule",            "J"},
    {25, Value::U_Newton,          Constants::U_Newton,          "U_Newton",           "N"},
    {26, Value::U_Pascal,          Constants::U_Pascal,          "U_Pascal",           "Pa"},
    {27, Value::U_Kilogram,        Constants::U_Kilogram,        "U_Kilogram",         "kg"},
    {28, Value::U_Lumen,           Constants::U_Lumen,           "U_Lumen",            "lm"},
    {29, Value::U_Candela,         Constants::U_Candela,         "U_Candela",          "cd"},
    {30, Value::U_Tesla,           Constants::U_Tesla,           "U_Tesla",            "T"},
    {31, Value::U_Siemens, Constants::U_Siemens, "U_Siemens", "S"},
    {32, Value::U_Minute, Constants::U_Minute, "U_Minute", "min"},
    {33, Value::U_Hour, Constants::U_Hour, "U_Hour", "h"},
    {34, Value::U_Bar, Constants::U_Bar, "U_Bar", "bar"},
    {35, Value::U_Mole, Constants::U_Mole, "U_Mole", "mol"},
    {36, Value::U_Lux, Constants::U_Lux, "U_Lux", "lx"},
    {37, Value::U_Weber, Constants::U_Weber, "U_Weber", "Wb"},
    {38, Value::U_Gray, Constants::U_Gray, "U_Gray", "Gy"},
    {39, Value::U_Sievert, Constants::U_Sievert, "U_Sievert", "Sv"},
    {40, Value::U_ElectronVolt, Constants::U_ElectronVolt, "U_ElectronVolt", "eV"},
    {41, Value::U_Neper, Constants::U_Neper, "U_Neper", "Np"},
    {42, Value::U_RevolutionPerMinute, Constants::U_RevolutionPerMinute, "U_RevolutionPerMinute", "rpm"},
    {43, Value::U_VoltAmpere, Constants::U_VoltAmpere, "U_VoltAmpere", "VA"},
    {44, Value::U_Var, Constants::U_Var, "U_Var", "var"},
};
// clang-format on

std::string TextOf(const std::string& path) {
  std::ifstream file(std::string(SOURCE_DIRECTORY "/") + path);
  std::ostringstream text;
  text << file.rdbuf();
  return text.str();
}

/// The lines of a file that begin so, what follows the beginning.
std::vector<std::string> LinesBeginning(const std::string& beginning, const std::string& path) {
  std::istringstream text(TextOf(path));
  std::vector<std::string> lines;
  for (std::string line; std::getline(text, line);) {
    if (line.compare(0, beginning.size(), beginning) == 0) lines.push_back(line.substr(beginning.size()));
  }
  return lines;
}

TEST(UnitNumbers, EachIsTheOneThatWasPublished) {
  ASSERT_EQ(std::size(kUnits), Value::kUnitRows + 1) << "each unit of the table, and none";
  for (const NumberedUnit& row : kUnits) {
    EXPECT_EQ(row.unit, row.number) << row.name;
    EXPECT_EQ(row.constant, row.number) << row.name;
    EXPECT_EQ(Value::Units_text(Value::Make_unit(row.unit)), row.symbol) << row.name;
  }
}

TEST(UnitNumbers, TheInterfaceDefinitionNamesEachOnce) {
  std::vector<std::string> expected;
  for (const NumberedUnit& row : kUnits)
    expected.push_back(std::string(row.name) + " = " + std::to_string(row.number) + ";");
  EXPECT_EQ(LinesBeginning("    const long ", "idl/VALUE_UNITS.idl"), expected);
}

/// The cells of a line of a table, without the blanks around them.
std::vector<std::string> Cells(const std::string& line) {
  std::vector<std::string> cells;
  std::istringstream text(line);
  for (std::string cell; std::getline(text, cell, '|');) {
    const std::size_t begin = cell.find_first_not_of(' ');
    cells.push_back(begin == std::string::npos ? "" : cell.substr(begin, cell.find_last_not_of(' ') - begin + 1));
  }
  return cells;
}

TEST(UnitNumbers, ThePageForClientAuthorsShowsEach) {
  std::vector<std::vector<std::string>> shown;
  for (const std::string& line : LinesBeginning("| ", "docs/interfaces.md")) {
    const std::vector<std::string> cells = Cells(line);
    if (cells.size() == 4 && cells[1].compare(0, 3, "`U_") == 0) shown.push_back({cells[0], cells[1], cells[2]});
  }
  std::vector<std::vector<std::string>> expected;
  for (const NumberedUnit& row : kUnits) {
    expected.push_back({std::to_string(row.number), "`" + std::string(row.name) + "`", row.symbol});
  }
  EXPECT_EQ(shown, expected);
}

}  // namespace
}  // namespace Lumenar::Test
