// SPDX-License-Identifier: Apache-2.0
#include "tools/math_web/Request.h"

#include <gmock/gmock.h>

#include <ostream>

namespace Lumenar::Web {
namespace {

using Deed = Request::Deed;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Optional;

TEST(WebRequest, SubscribeSaysWhatIsWanted) {
  const Request request = ParseRequest(
      R"({"type":"subscribe","request":5,"stream":3,"name":"SIM/1/LEVEL","columns":1400,"from":2,"to":-1.5,"scale":"db"})");
  EXPECT_EQ(request.deed, Deed::Subscribe);
  EXPECT_THAT(request.number, Optional(5u));
  EXPECT_EQ(request.stream, 3u);
  EXPECT_EQ(request.name, "SIM/1/LEVEL");
  EXPECT_EQ(request.view, (View{1400, -1.5, 2, Scale::Decibel})) << "a range the other way round is turned";
}

TEST(WebRequest, WhatIsNullIsNotThere) {
  const Request request = ParseRequest(
      R"({"type":"subscribe","request":0,"stream":0,"name":"math:3","columns":0,"from":null,"to":null,"scale":null})");
  EXPECT_EQ(request.view, View{});
}

TEST(WebRequest, CreateAndFitsNameTheirInputs) {
  const Request create = ParseRequest(R"({"type":"create","request":1,"math":"Average","inputs":["A"],"size":20})");
  EXPECT_EQ(create.math, "Average");
  EXPECT_THAT(create.inputs, ElementsAre(Optional(std::string("A"))));
  EXPECT_THAT(create.size, Optional(20));
  const Request fits = ParseRequest(R"({"type":"fits","request":1,"math":"Subtract","inputs":[null,"B"]})");
  EXPECT_THAT(fits.inputs, ElementsAre(std::nullopt, Optional(std::string("B"))));
}

TEST(WebRequest, ReadyAndUnsubscribeNeedNoNumber) {
  EXPECT_EQ(ParseRequest(R"({"type":"ready","stream":4294967295})").stream, 4294967295u);
  EXPECT_EQ(ParseRequest(R"({"type":"unsubscribe","stream":1})").deed, Deed::Unsubscribe);
}

TEST(WebRequest, OnlyFourDeedsChangeSomething) {
  for (const Deed deed : {Deed::Create, Deed::Set, Deed::Reset, Deed::Delete}) EXPECT_TRUE(Changes(deed));
  for (const Deed deed : {Deed::Subscribe, Deed::Ready, Deed::Fits, Deed::Save, Deed::Csv, Deed::Get})
    EXPECT_FALSE(Changes(deed));
}

struct BadRow {
  std::string text;
  const char* sentence;
};

void PrintTo(const BadRow& row, std::ostream* stream) { *stream << row.sentence; }

class BadMessages : public testing::TestWithParam<BadRow> {};

TEST_P(BadMessages, AreRefusedInASentence) {
  try {
    ParseRequest(GetParam().text);
    FAIL() << GetParam().text;
  } catch (const RequestError& error) {
    EXPECT_THAT(error.what(), HasSubstr(GetParam().sentence));
  }
}

INSTANTIATE_TEST_SUITE_P(
    WebRequest, BadMessages,
    testing::Values(
        BadRow{"", "no JSON object"}, BadRow{"[]", "no JSON object"}, BadRow{"{", "no JSON object"},
        BadRow{"{\"type\":\"\xff\"}", "no JSON object"}, BadRow{"{}", "\"type\" has to be a text"},
        BadRow{R"({"type":7})", "\"type\" has to be a text"}, BadRow{R"({"type":"fly\n"})", "no message \"fly\\x0a\""},
        BadRow{R"({"type":"save"})", "\"request\" has to be a whole number"},
        BadRow{R"({"type":"save","request":-1})", "\"request\" has to be"},
        BadRow{R"({"type":"save","request":1.5})", "\"request\" has to be"},
        BadRow{R"({"type":"ready"})", "\"stream\" has to be a whole number"},
        BadRow{R"({"type":"ready","stream":-1})", "\"stream\" has to be"},
        BadRow{R"({"type":"ready","stream":4294967296})", "\"stream\" has to be"},
        BadRow{R"({"type":"ready","stream":18446744073709551615})", "\"stream\" has to be"},
        BadRow{R"({"type":"subscribe","request":1,"stream":1,"name":"A","columns":8193})", "from 0 to 8192"},
        BadRow{R"({"type":"subscribe","request":1,"stream":1,"name":"A","from":"x"})", "\"from\" has to be a number"},
        BadRow{R"({"type":"subscribe","request":1,"stream":1,"name":"A","scale":"log"})", "as_is, db or linear"},
        BadRow{R"({"type":"create","request":1,"math":"Peak","inputs":[null]})", "an input has to be a name"},
        BadRow{R"({"type":"create","request":1,"math":"Peak","inputs":"A"})", "list of 16 names"},
        BadRow{R"({"type":"create","request":1,"math":"Peak","inputs":["A"],"size":0})", "\"size\" has to be"},
        BadRow{R"({"type":"save","request":1,"x":[[[[1]]]]})", "nested too deep"},
        BadRow{R"({"type":"get","request":1,"name":")" + std::string(2000, 'n') + "\"}", "longer than 1024"}),
    [](const auto& test) { return "Row" + std::to_string(test.index); });

TEST(WebRequest, ARefusalBearsTheNumberOfItsRequest) {
  try {
    ParseRequest(R"({"type":"get","request":9})");
    FAIL();
  } catch (const RequestError& error) {
    EXPECT_THAT(error.Number(), Optional(9u));
  }
}

}  // namespace
}  // namespace Lumenar::Web
