// SPDX-License-Identifier: Apache-2.0
// What clients set at instruments.
#include <fmt/format.h>
#include <gmock/gmock.h>

#include "tests/support/ScpiFixture.h"

namespace Lumenar::Test {
namespace {

using namespace std::chrono_literals;
using testing::HasSubstr;

const Value::Units kHertz = Value::Make_unit(Value::U_Hertz);

class ScpiSettings : public ScpiFixture {
 protected:
  void Start(const std::string& limits = "", const std::string& timeouts = "timeout = 500 ms") {
    StartScpi(
        fmt::format("connect = {}\nstart = *CLS ; :FORM REAL,64 ; :FORM:BORD SWAP\n{}\n[trace LEVEL]\n"
                    "query = :TRAC? TRACE1\nunit = dBm\nrate = 50\nx = :SENS:FREQ:STAR? :SENS:FREQ:STOP?\n"
                    "[setting SPAN]\nget = :SENS:FREQ:SPAN?   set = :SENS:FREQ:SPAN {{}}   unit = Hz {}\n",
                    server_.Analyser(), timeouts, limits));
    span_ = Item<Corvanta::EngineAttribValueDouble>("SPAN");
  }

  Corvanta::EngineAttribValueDouble_var span_;
};

TEST_F(ScpiSettings, AreReadFromTheInstrumentAndSetThere) {
  Start();
  EXPECT_EQ(span_->Get().val, 1e9);
  EXPECT_EQ(TraceNow("LEVEL").x_step, 1e5);
  const Watcher<Scalar> watcher(TopicOf("SPAN"));
  span_->Set(ScalarOf(2e9, kHertz));
  EXPECT_EQ(span_->Get().val, 2e9) << "as soon as it is set";
  EXPECT_EQ(ScpiServer::Ask(server_.Analyser(), ":SENS:FREQ:SPAN?"), "2.000000000E+09");
  EXPECT_TRUE(WaitUntil([&] { return TraceNow("LEVEL").x_step == 2e5; })) << "the axis follows";
  EXPECT_EQ(watcher.WaitFor(1).at(0).val, 2e9);
}

TEST_F(ScpiSettings, AreConvertedIntoTheirUnit) {
  Start();
  span_->Set(ScalarOf(30, Value::Make_unit(Value::U_Hertz, 1, 6)));
  EXPECT_EQ(span_->Get().val, 30e6);
  EXPECT_THROW(span_->Set(ScalarOf(1, Value::C_Watts)), CORBA::BAD_PARAM);
  EXPECT_THAT(scpi_->Error(), HasSubstr("SPAN is not set: the unit does not fit\n"));
}

TEST_F(ScpiSettings, OutsideTheirLimitsAreRefused) {
  Start("limits = 100 5e9");
  EXPECT_THROW(span_->Set(ScalarOf(99, kHertz)), CORBA::BAD_PARAM);
  EXPECT_THROW(span_->Set(ScalarOf(std::numeric_limits<double>::quiet_NaN(), kHertz)), CORBA::BAD_PARAM);
  EXPECT_THAT(scpi_->Error(), HasSubstr("SPAN is not set: 99 is outside the limits, 100 to 5000000000 Hz\n"));
  EXPECT_EQ(span_->Get().val, 1e9);
}

TEST_F(ScpiSettings, WhatTheInstrumentRefusesIsRefusedWithItsOwnWords) {
  Start();
  EXPECT_THROW(span_->Set(ScalarOf(1e12, kHertz)), CORBA::BAD_PARAM);
  EXPECT_THAT(scpi_->Error(), HasSubstr("reports '-222,\"Data out of range\"'\n"));
  EXPECT_EQ(span_->Get().val, 1e9);
  const auto number = TraceNow("LEVEL").sequence_number;
  EXPECT_TRUE(WaitUntil([&] { return TraceNow("LEVEL").sequence_number > number; }));
}

/// While it hung, its error queue gave no answer either, so that it was asked no more.
TEST_F(ScpiSettings, AreCheckedAgainAfterTheInstrumentHung) {
  Start("", "first_timeout = 1 s ; timeout = 1 s");
  server_.Server().Signal(SIGSTOP);
  EXPECT_TRUE(WaitUntil([&] { return Lines("*IDN?: no answer within 1 s") > 0; }, 20s)) << scpi_->Error();
  server_.Server().Signal(SIGCONT);
  EXPECT_TRUE(WaitUntil([&] { return Lines(": is back\n") > 0; }, 20s)) << scpi_->Error();
  EXPECT_THROW(span_->Set(ScalarOf(1e12, kHertz)), CORBA::BAD_PARAM);
  EXPECT_THAT(scpi_->Error(), HasSubstr("reports '-222,\"Data out of range\"'\n"));
}

TEST_F(ScpiSettings, OfAnInstrumentThatIsAwayAreRefused) {
  Start();
  server_.Server().Signal(SIGKILL);
  EXPECT_TRUE(WaitUntil([&] { return Lines("connecting anew") > 0; }));
  EXPECT_THROW(span_->Set(ScalarOf(2e9, kHertz)), CORBA::TRANSIENT);
  EXPECT_EQ(span_->Get().val, 1e9);
}

TEST_F(ScpiSettings, AreSetFromTheCommandLine) {
  Start();
  auto set = platform_.Start("mathctl", {"set", "SCPI/1/SPAN", "500", "MHz"});
  EXPECT_EQ(set->WaitForExit(), 0) << set->Error();
  EXPECT_EQ(span_->Get().val, 5e8);
}

}  // namespace
}  // namespace Lumenar::Test
