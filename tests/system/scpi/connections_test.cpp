// SPDX-License-Identifier: Apache-2.0
// How the engine reaches instruments, and how it ends.
#include <fmt/format.h>
#include <gmock/gmock.h>

#include <csignal>

#include "tests/support/ScpiFixture.h"

namespace Lumenar::Test {
namespace {

using namespace std::chrono_literals;
using testing::HasSubstr;

constexpr const char* kVoltage = "[scalar VOLTAGE]\nquery = :MEAS:VOLT:DC?\nunit = V\nrate = 50\n";

class ScpiConnections : public ScpiFixture {
 protected:
  std::string Multimeter(const std::string& settings) const {
    return "connect = " + server_.Multimeter() + "\n" + settings + kVoltage;
  }
};

TEST_F(ScpiConnections, AnInstrumentMayBeSwitchedOnLater) {
  const std::string port = FreeLoopbackPort();
  StartScpi("connect = 127.0.0.1:" + port + "\n" + kVoltage);
  EXPECT_TRUE(WaitUntil([&] { return Lines("no connection (Connection refused); connecting anew\n") == 1; }));
  EXPECT_TRUE(Items().empty()) << "there is nothing that it could tell";
  const ScpiServer later({"--multimeter", port});
  EXPECT_NEAR(ScalarNow("VOLTAGE").val, 5, 0.011);
  EXPECT_TRUE(WaitUntil([&] { return Lines(": is back\n") == 1; }));
}

TEST_F(ScpiConnections, NamesAndIPv6AreAddresses) {
  std::unique_ptr<ScpiServer> other;
  try {
    other = std::make_unique<ScpiServer>(std::vector<std::string>{"--host", "::1"});
  } catch (const std::runtime_error& error) {
    GTEST_SKIP() << "no IPv6 here: " << error.what();
  }
  const auto port = [](const std::string& address) { return address.substr(address.rfind(':') + 1); };
  const auto file = (platform_.Directory() / "dmm.scpi").string();
  WriteText(file, kVoltage);
  StartScpiWith(fmt::format("A={}@localhost:{};B={}@[::1]:{}", file, port(server_.Multimeter()), file,
                            port(other->Multimeter())));
  EXPECT_NEAR(ScalarNow("A_VOLTAGE").val, 5, 0.011);
  EXPECT_NEAR(ScalarNow("B_VOLTAGE").val, 5, 0.011);
}

TEST_F(ScpiConnections, TheFirstAnswerMayTakeLonger) {
  ScpiServer::Misbehave(server_.Multimeter(), "FIRST", 1, 1.0);
  StartScpi(Multimeter("first_timeout = 15 s ; timeout = 500 ms\n"));
  EXPECT_NEAR(ScalarNow("VOLTAGE").val, 5, 0.011);
  EXPECT_EQ(scpi_->Error(), "");
}

TEST_F(ScpiConnections, AnInstrumentWithoutIdentityAndErrorQueueIsReadAllTheSame) {
  StartScpi(Multimeter("first_timeout = 300 ms ; timeout = 300 ms ; identify = *NOIDEA? ; errors = :NOERRORS?\n"));
  EXPECT_NEAR(ScalarNow("VOLTAGE").val, 5, 0.011);
  EXPECT_THAT(scpi_->Error(), HasSubstr("*NOIDEA?: no answer within 300 ms; connecting anew\n"));
}

TEST_F(ScpiConnections, AnErrorQueueThatGivesNoNumberIsNotAskedAnyMore) {
  StartScpi(Multimeter("errors = *IDN?\n"));
  EXPECT_NEAR(ScalarNow("VOLTAGE").val, 5, 0.011);
  EXPECT_THAT(scpi_->Error(), HasSubstr("*IDN?: 'Lumenar', which is no number; connecting anew\n"));
}

TEST_F(ScpiConnections, AnUnknownQuestionIsToldByTheInstrumentsOwnError) {
  StartScpi(Multimeter("first_timeout = 2 s ; timeout = 300 ms\n[scalar WRONG]\nquery = :MEAS:VOTL?\n"));
  EXPECT_TRUE(WaitUntil([&] { return Lines("reports '-113,\"Undefined header\"'\n") == 1; })) << scpi_->Error();
  EXPECT_EQ(Lines(":MEAS:VOTL?: no answer within 300 ms; connecting anew\n"), 1u);
  const int before = ScpiServer::CountsOf(server_.Multimeter()).measurements;
  EXPECT_TRUE(WaitUntil([&] { return ScpiServer::CountsOf(server_.Multimeter()).measurements > before + 50; }))
      << "the other reading goes on";
}

TEST_F(ScpiConnections, TheEngineEndsWhileItWaitsForAnAnswer) {
  StartScpi(Multimeter("timeout = 60 s\n"));
  ScalarNow("VOLTAGE");
  ScpiServer::Misbehave(server_.Multimeter(), "HANG");
  EXPECT_TRUE(WaitUntil([&] { return ScpiServer::FaultsToCome(server_.Multimeter()) == 0; }));
  scpi_->Signal(SIGTERM);
  EXPECT_EQ(scpi_->WaitForExit(5s), 0) << scpi_->Error();
}

TEST_F(ScpiConnections, BetweenMessagesThereIsAGap) {
  StartScpi(Multimeter("gap = 100 ms\n"));
  ScalarNow("VOLTAGE");
  const int before = ScpiServer::CountsOf(server_.Multimeter()).measurements;
  const auto began = std::chrono::steady_clock::now();
  EXPECT_TRUE(WaitUntil([&] { return ScpiServer::CountsOf(server_.Multimeter()).measurements >= before + 6; }));
  EXPECT_GE(std::chrono::steady_clock::now() - began, 450ms) << "at 50 Hz it would be 120 ms";
}

TEST_F(ScpiConnections, ABadFileIsOneLineAndNoEngine) {
  const auto file = (platform_.Directory() / "bad.scpi").string();
  WriteText(file, "# a device\n[trace A]\nunit = dBm/Hz\n");
  auto host = platform_.Start("engine_host", {BuiltEngineLibrary("scpi").string()}, {{"SCPI_DEVICES", file}});
  EXPECT_EQ(host->WaitForExit(), 1);
  const std::string said = host->Error();
  EXPECT_THAT(said, testing::StartsWith("Lumenar::ScpiInit new: Caught exception " + file + ":3: unit: "));
  EXPECT_EQ(std::count(said.begin(), said.end(), '\n'), 1);
}

}  // namespace
}  // namespace Lumenar::Test
