// SPDX-License-Identifier: Apache-2.0
#include "instruments/scpi/DeviceFile.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <stdexcept>

#include "instruments/scpi/items.h"
#include "instruments/scpi/ready_files.h"

namespace Lumenar::Scpi {
namespace {

using testing::ElementsAre;

std::vector<std::string> TextsOf(const std::vector<Message>& messages) {
  std::vector<std::string> texts;
  for (const Message& message : messages) texts.push_back(message.text + (message.is_question ? " (asks)" : ""));
  return texts;
}

std::string Refusal(const std::string& text) {
  try {
    DeviceFromText(text, "F");
  } catch (const std::invalid_argument& error) {
    return error.what();
  }
  return "none";
}

constexpr const char* kWholeFile = R"(# a spectrum analyser
connect = 192.0.2.10:5026
end     = crlf                          # lf, crlf, none;  order = big (the instruments' default) | little
order   = little
first_timeout = 20 s ; timeout = 1.5 s ; gap = 10 ms ; largest = 2 MB
start   = *CLS ; :FORM REAL,32 ; :DISP:TEXT "a ; b # c = d?"
start   = :SENS:ROSC:SOUR EXT;*OPC?
[trace LEVEL]
single  = :INIT ; *OPC?
query   = :TRAC? TRACE1
unit    = dBm
x       = :SENS:FREQ:STAR? :SENS:FREQ:STOP? MAX
x_unit  = MHz
rate    = 20
timeout = 30 s
[ scalar VOLTAGE ]
)";

TEST(DeviceFile, SaysHowADeviceIsReached) {
  const DeviceConfig device =
      DeviceFromText(std::string(kWholeFile).substr(0, std::string(kWholeFile).find("[ ")), "F");
  ASSERT_TRUE(device.address.has_value());
  EXPECT_EQ(device.address->Text(), "192.0.2.10:5026");
  EXPECT_EQ(device.end, LineEnd::CrLf);
  EXPECT_EQ(device.first_timeout, std::chrono::seconds(20));
  EXPECT_EQ(device.timeout, Milliseconds(1500));
  EXPECT_EQ(device.gap, Milliseconds(10));
  EXPECT_EQ(device.largest, 2'000'000u);
  EXPECT_EQ(device.identify, "*IDN?");
  EXPECT_EQ(device.errors, ":SYST:ERR?");
  EXPECT_THAT(TextsOf(device.start), ElementsAre("*CLS", ":FORM REAL,32", ":DISP:TEXT \"a ; b # c = d?\"",
                                                 ":SENS:ROSC:SOUR EXT;*OPC? (asks)"));
}

TEST(DeviceFile, ATrace) {
  const DeviceConfig device =
      DeviceFromText(std::string(kWholeFile).substr(0, std::string(kWholeFile).find("[ ")), "F");
  ASSERT_EQ(device.readings.size(), 1u);
  const ReadingConfig& trace = device.readings[0];
  EXPECT_TRUE(trace.is_trace);
  EXPECT_EQ(trace.name, "LEVEL");
  EXPECT_THAT(TextsOf(trace.single), ElementsAre(":INIT", "*OPC? (asks)"));
  EXPECT_EQ(trace.query, ":TRAC? TRACE1");
  EXPECT_EQ(Value::Units_text(trace.units), "dBm");
  ASSERT_EQ(trace.x.size(), 2u);
  EXPECT_EQ(trace.x[0].question, ":SENS:FREQ:STAR?");
  EXPECT_EQ(trace.x[1].question, ":SENS:FREQ:STOP? MAX");
  EXPECT_EQ(trace.x_unit, Value::U_Hertz);
  EXPECT_EQ(trace.x_factor, 1e6);
  EXPECT_EQ(trace.rate_Hz, 20);
  EXPECT_EQ(trace.timeout, std::chrono::seconds(30));
  EXPECT_EQ(trace.form.block, BlockForm::Real32);
  EXPECT_EQ(trace.form.order, ByteOrder::Little);
}

TEST(DeviceFile, AScalarAndASettingOnLinesOfTheirOwn) {
  const DeviceConfig device = DeviceFromText(
      "[scalar VOLTAGE]\r\nquery = :MEAS:VOLT:DC?   unit = mV   error = 0.0035 % + 0.0005\r\nzero = 1 ; scale = "
      ":SCAL?\r\n"
      "[setting CENTER]\r\nget = :SENS:FREQ:CENT?   set = :SENS:FREQ:CENT {}   unit = Hz   limits = 9e3 26.5e9",
      "F");
  ASSERT_EQ(device.readings.size(), 1u);
  const ReadingConfig& scalar = device.readings[0];
  EXPECT_FALSE(scalar.is_trace);
  EXPECT_EQ(scalar.rate_Hz, 10);
  EXPECT_EQ(Value::Units_text(scalar.units), "mV");
  EXPECT_DOUBLE_EQ(scalar.error.Of(10), 0.00085);
  EXPECT_EQ(scalar.zero.number, 1);
  EXPECT_EQ(scalar.scale.question, ":SCAL?");
  ASSERT_EQ(device.settings.size(), 1u);
  const SettingConfig& setting = device.settings[0];
  EXPECT_EQ(setting.get, ":SENS:FREQ:CENT?");
  EXPECT_EQ(CommandWith(setting, 26.5e9), ":SENS:FREQ:CENT 26500000000");
  EXPECT_EQ(CommandWith(setting, 0.1), ":SENS:FREQ:CENT 0.1");
  ASSERT_TRUE(setting.limits.has_value());
  EXPECT_EQ(setting.limits->second, 26.5e9);
}

TEST(DeviceFile, WhatTheStartSaysOfBlocksHolds) {
  const auto form_of = [](const std::string& lines) {
    return DeviceFromText(lines + "\n[trace T]\nquery = :T?\n[trace U]\nquery = :U?\nblock = int8\n", "F").readings;
  };
  EXPECT_EQ(form_of("")[0].form.block, BlockForm::Real32);
  EXPECT_EQ(form_of("")[0].form.order, ByteOrder::Big);
  EXPECT_EQ(form_of("start = :form:data real, 64 ; :format:border swapped")[0].form.block, BlockForm::Real64);
  EXPECT_EQ(form_of("start = :FORM INT,16")[0].form.block, BlockForm::Int16);
  EXPECT_EQ(form_of("start = :FORM INT,16")[1].form.block, BlockForm::Int8) << "its own word has precedence";
  EXPECT_EQ(form_of("start = :FORM:BORD SWAP")[0].form.order, ByteOrder::Little);
  EXPECT_EQ(form_of("start = :FORM:BORD SWAP\norder = big")[0].form.order, ByteOrder::Big);
}

TEST(DeviceFile, BadLinesAreNamed) {
  const std::string trace = "[trace T]\nquery = :T?\n";
  struct {
    std::string text;
    const char* reason;
  } const cases[] = {
      {"", "F:1: no [trace NAME], [scalar NAME] or [setting NAME]"},
      {"connect = h\n\n", "F:2: no [trace NAME], [scalar NAME] or [setting NAME]"},
      {"hello", "F:1: expected KEY = VALUE, or [trace NAME]"},
      {"= 3", "F:1: expected KEY = VALUE, or [trace NAME]"},
      {"\nconect = h", "F:2: a device has no key \"conect\""},
      {"rate = 3", "F:1: a device has no key \"rate\""},
      {"timeout = 3 s ; tiemout = 1 s", "F:1: a device has no key \"tiemout\""},
      {"timeout =", "F:1: timeout has no value"},
      {"timeout = 3 s\ntimeout = 3 s", "F:2: a second timeout"},
      {"timeout = 3", "F:1: timeout: expected a time from 10 ms to 600 s, as \"3 s\" or \"500 ms\", found '3'"},
      {"timeout = 9 ms", "F:1: timeout: expected a time from 10 ms to 600 s, as \"3 s\" or \"500 ms\", found '9 ms'"},
      {"gap = 61 s", "F:1: gap: expected a time from 0 s to 60 s, as \"3 s\" or \"500 ms\", found '61 s'"},
      {"largest = 16",
       "F:1: largest: expected a size from 1000 to 256000000 bytes, as \"16 MB\" or \"64 kB\", found '16'"},
      {"largest = 1 GB",
       "F:1: largest: expected a size from 1000 to 256000000 bytes, as \"16 MB\" or \"64 kB\", found '1 GB'"},
      {"end = cr", "F:1: end: expected one of lf, crlf, none, found 'cr'"},
      {"order = middle", "F:1: order: expected one of big, little, found 'middle'"},
      {"connect = host:0", "F:1: connect: 'host:0' is no address: the port is no number from 1 to 65535"},
      {"connect = a b:1", "F:1: connect: 'a b:1' is no address: the host is neither a name nor a number"},
      {"connect = [::1:1", "F:1: connect: '[::1:1' is no address: expected [HOST]:PORT"},
      {"start = :A \"b", "F:1: a quotation mark is not closed"},
      {"start = :A \x01", "F:1: a character that is not printable"},
      {"start = :A \xc2\xb5", "F:1: start: a message with a character that is no ASCII: ':A \\xc2\\xb5'"},
      {"identify = *CLS", "F:1: identify: expected a question, with a \"?\", found '*CLS'"},
      {"errors = :A? ; :B?", "F:1: errors: expected one message, found ':A? ; :B?'"},
      {"[trace]", "F:1: expected [trace NAME], [scalar NAME] or [setting NAME], a name of letters, digits and \"_\""},
      {"[trace A", "F:1: expected [trace NAME], [scalar NAME] or [setting NAME], a name of letters, digits and \"_\""},
      {"[trace A/B]",
       "F:1: expected [trace NAME], [scalar NAME] or [setting NAME], a name of letters, digits and \"_\""},
      {"[long A]", "F:1: expected [trace NAME], [scalar NAME] or [setting NAME], a name of letters, digits and \"_\""},
      {trace + trace, "F:3: a second item with the name T"},
      {"\n[trace T]\nunit = V\n\n", "F:2: T has no query"},
      {"[trace T]\nunit = V\n[scalar S]", "F:1: T has no query"},
      {"[setting S]\nget = :S?\n", "F:1: S needs both get and set"},
      {"[setting S]\nset = :S\n", "F:2: set: expected a command with {} once, where the number goes, found ':S'"},
      {"[setting S]\nset = :S {},{}\n",
       "F:2: set: expected a command with {} once, where the number goes, found ':S {},{}'"},
      {"[setting S]\nset = :S? {}\n", "F:2: set: expected a command without \"?\", found ':S? {}'"},
      {"[setting S]\nlimits = 1\n", "F:2: limits: expected two numbers, LOWER UPPER, found '1'"},
      {"[setting S]\nlimits = 2 1\n", "F:2: limits: expected LOWER UPPER, in this order, found '2 1'"},
      {"[setting S]\nlimits = 1 x\n", "F:2: limits: expected a number, found 'x'"},
      {trace + "error = 1 %", "F:3: a trace has no key \"error\""},
      {trace + "rate = 0", "F:3: rate: expected a number from 0.0001 to 10000, found '0'"},
      {trace + "unit = furlong", "F:3: unit: unit \"furlong\": \"furlong\" is not understood"},
      {trace + "block = real16",
       "F:3: block: expected one of real32, real64, int8, int16, int32, uint8, uint16, uint32, ascii, found 'real16'"},
      {trace + "x = 1 2 3", "F:3: x: expected first and last point, or the distance of two, found '1 2 3'"},
      {trace + "x = STAR", "F:3: x: expected a question, with a \"?\", found 'STAR'"},
      {trace + "x_unit = dBm", "F:3: x_unit: expected one unit, as Hz, MHz or s, found 'dBm'"},
      {"[scalar S]\nquery = :S?\nerror = 1 V",
       "F:3: error: expected a band as \"0.0035 % + 0.0005\": a share in % or ppm, a number, or both"},
      {"[scalar S]\nquery = :S?\nunit = dBm\nerror = 1 %\n",
       "F:1: S: error: a level has no error in percent of itself, but in dB"},
  };
  for (const auto& [text, reason] : cases) EXPECT_EQ(Refusal(text), reason) << text;
}

TEST(DeviceFile, LevelsThatNoOperationCanUseAreRefusedWithWhatToWriteInstead) {
  const auto refusal = [](const std::string& unit) { return Refusal("[trace T]\nquery = :T?\nunit = " + unit); };
  const std::string instead =
      "which no operation can make linear and a level again: write the level of the unit alone (dBm, dBuV) and say "
      "what it "
      "is over in the reading's name, as NOISE_PER_HZ";
  EXPECT_EQ(refusal("dBm/Hz"), "F:3: unit: 'dBm/Hz' is a level over a unit in the denominator, " + instead);
  EXPECT_EQ(refusal("dBuV/m"), "F:3: unit: 'dBuV/m' is a level over a unit in the denominator, " + instead);
  EXPECT_EQ(refusal("dB(V^2)"), "F:3: unit: 'dB(V^2)' is a level of a power of a unit, " + instead);
  for (const char* unit : {"dBm", "dBV", "dBuV", "dB", "dBc", "dB(Pa)", "dB(10^2 %)", "V/m", "mW/Hz", "V^2", "hPa",
                           "%RH", "rpm", "lx", "VA", "S", "h", "min"})
    EXPECT_EQ(refusal(unit), "none") << unit;
}

TEST(DeviceFile, TheReadyOnesAreGood) {
  int count = 0;
  for (const auto& entry : std::filesystem::directory_iterator(ReadyFilesFolder())) {
    if (entry.path().extension() != ".scpi") continue;
    const DeviceConfig device = DeviceFromFile(PathOfDeviceFile(entry.path().stem().string()));
    EXPECT_TRUE(device.address.has_value()) << entry.path();
    EXPECT_FALSE(device.readings.empty()) << entry.path();
    ++count;
  }
  EXPECT_EQ(count, 5);
}

/// What the page on instruments shows is a device file.
TEST(DeviceFile, ThoseOfThePageAreGood) {
  std::ifstream page(LUMENAR_PAGE_OF_INSTRUMENTS);
  std::string text;
  int count = 0;
  bool is_inside = false;
  for (std::string line; std::getline(page, line);) {
    const bool is_of_devices = text.find("connect =") != std::string::npos;
    if (is_inside && line == "```" && is_of_devices) {
      const DeviceConfig device = DeviceFromText(text, "page");
      EXPECT_TRUE(device.address.has_value());
      ++count;
    }
    is_inside = line == "```ini" || (is_inside && line != "```");
    text = is_inside && line != "```ini" ? text + line + '\n' : "";
  }
  EXPECT_EQ(count, 1);
}

TEST(DeviceFile, AnUnknownNameIsAnsweredWithThoseThatThereAre) {
  try {
    PathOfDeviceFile("multimetre");
    FAIL();
  } catch (const std::invalid_argument& error) {
    EXPECT_STREQ(error.what(),
                 "'multimetre' is neither a file nor a ready device (multimeter, network_analyser, "
                 "oscilloscope, power_meter, spectrum_analyser)");
  }
}

}  // namespace
}  // namespace Lumenar::Scpi
