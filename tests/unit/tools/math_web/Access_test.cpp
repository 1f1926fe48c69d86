// SPDX-License-Identifier: Apache-2.0
#include "tools/math_web/Access.h"

#include <gmock/gmock.h>

namespace Lumenar::Web {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::Not;

constexpr const char* kHere = "127.0.0.1:8080";

Access Plain() { return Access({HostsOf("127.0.0.1", 8080), ""}); }
Access WithToken() { return Access({HostsOf("127.0.0.1", 8080), "0123456789abcdef"}); }

unsigned StatusOf(const std::optional<Refusal>& refusal) { return refusal ? refusal->status : 200; }

TEST(Access, LoopbackHasThreeNames) {
  EXPECT_THAT(HostsOf("127.0.0.1", 8080), Contains("localhost:8080"));
  EXPECT_THAT(HostsOf("127.0.0.1", 8080), Contains("[::1]:8080"));
  EXPECT_THAT(HostsOf("192.0.2.1", 8080), ElementsAre("192.0.2.1:8080"));
  EXPECT_THAT(HostsOf("::1", 80), Contains("[::1]"));
  EXPECT_THAT(HostsOf("127.0.0.1", 8080), Not(Contains("localhost")));
}

TEST(Access, AForeignHostIsTurnedAway) {
  EXPECT_EQ(StatusOf(Plain().RefuseHost({kHere, "", "", ""})), 200u);
  EXPECT_EQ(StatusOf(Plain().RefuseHost({"LOCALHOST:8080", "", "", ""})), 200u);
  for (const char* host : {"", "evil.example:8080", "127.0.0.1:8081", "127.0.0.1"})
    EXPECT_EQ(StatusOf(Plain().RefuseHost({host, "", "", ""})), 403u) << host;
  EXPECT_EQ(StatusOf(Access({{}, ""}).RefuseHost({"any", "", "", ""})), 200u) << "no list: behind a proxy";
}

TEST(Access, APageOfSomewhereElseGetsNoWebSocket) {
  EXPECT_EQ(StatusOf(Plain().RefuseLive({kHere, "http://127.0.0.1:8080", "", ""})), 200u);
  EXPECT_EQ(StatusOf(Plain().RefuseLive({kHere, "", "", ""})), 200u) << "not a browser";
  for (const char* origin :
       {"http://evil.example", "null", "http://localhost:8080", "http://127.0.0.1:8080.evil.example"})
    EXPECT_EQ(StatusOf(Plain().RefuseLive({kHere, origin, "", ""})), 403u) << origin;
}

TEST(Access, ATokenIsShownInEitherOfTwoPlaces) {
  EXPECT_EQ(StatusOf(WithToken().RefuseData({kHere, "", "Bearer 0123456789abcdef", ""})), 200u);
  EXPECT_EQ(StatusOf(WithToken().RefuseData({kHere, "", "bearer 0123456789abcdef", ""})), 200u);
  EXPECT_EQ(StatusOf(WithToken().RefuseLive({kHere, "", "", "lumenar.1, lumenar.token.0123456789abcdef"})), 200u);
  const Credentials wrong[] = {{kHere, "", "", ""},
                               {kHere, "", "Bearer 0123456789abcdeX", ""},
                               {kHere, "", "Bearer 0123456789abcde", ""},
                               {kHere, "", "Bearer 0123456789abcdef0", ""},
                               {kHere, "", "Basic 0123456789abcdef", ""},
                               {kHere, "", "", "lumenar.token."},
                               {kHere, "", "", "0123456789abcdef"}};
  for (const Credentials& one : wrong) EXPECT_EQ(StatusOf(WithToken().RefuseData(one)), 401u) << one.authorization;
  EXPECT_EQ(StatusOf(WithToken().RefuseHost({kHere, "", "", ""})), 200u) << "the page itself needs none";
}

TEST(Access, WhatIsShownOfAHostCanBePrinted) {
  const auto refusal = Plain().RefuseHost({std::string("a\nb\xff") + std::string(5000, 'x'), "", "", ""});
  EXPECT_EQ(refusal->text.find('\n'), std::string::npos);
  EXPECT_LT(refusal->text.size(), 300u);
}

TEST(Access, ListsAreSplitAtCommas) {
  EXPECT_THAT(ListOf(" a ,\tb,,c"), ElementsAre("a", "b", "c"));
  EXPECT_THAT(ListOf(""), testing::IsEmpty());
}

}  // namespace
}  // namespace Lumenar::Web
