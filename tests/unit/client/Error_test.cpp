// SPDX-License-Identifier: Apache-2.0
#include "client/Error.h"

#include <gtest/gtest.h>
#include <omniORB4/Naming.hh>

#include <memory>

#include "EngineAttrib.hh"
#include "MathFactory.hh"

namespace Lumenar::Client {
namespace {

struct ErrorRow {
  std::shared_ptr<CORBA::Exception> exception;
  ErrorKind kind;
  const char* text;  // nullptr: the ORB's own words
};

TEST(ErrorFrom, SortsByWhatTheCallerCanDo) {
  const ErrorRow kRows[] = {
      {std::make_shared<Corvanta::MathFactory::MathFactoryException>("Invalid attrib types"), ErrorKind::Refused,
       "x: Invalid attrib types"},
      {std::make_shared<Corvanta::MathFactory::MathFactoryException>("two\nlines"), ErrorKind::Refused,
       "x: two\\x0alines"},
      {std::make_shared<Corvanta::LimitsExceeded>(100, 1, 99), ErrorKind::Refused,
       "x: 100 is outside the limits 1 to 99"},
      {std::make_shared<CosNaming::NamingContext::NotFound>(), ErrorKind::NotFound, "x: not registered"},
      {std::make_shared<CORBA::OBJECT_NOT_EXIST>(), ErrorKind::NotFound, nullptr},
      {std::make_shared<CORBA::TRANSIENT>(), ErrorKind::Unreachable, nullptr},
      {std::make_shared<CORBA::TIMEOUT>(), ErrorKind::Unreachable, nullptr},
      {std::make_shared<CORBA::COMM_FAILURE>(), ErrorKind::Unreachable, nullptr},
      {std::make_shared<CORBA::UNKNOWN>(), ErrorKind::Refused, nullptr},
      {std::make_shared<CORBA::IMP_LIMIT>(), ErrorKind::Refused, nullptr},
  };
  for (const ErrorRow& row : kRows) {
    const Error error = ErrorFrom(*row.exception, "x");
    EXPECT_EQ(error.Kind(), row.kind) << error.what();
    if (row.text != nullptr) {
      EXPECT_STREQ(error.what(), row.text);
    }
  }
}

TEST(Remote, PassesResultsAndOwnErrorsThrough) {
  EXPECT_EQ(Remote("x", [] { return 7; }), 7);
  EXPECT_THROW(Remote("x", []() -> int { throw CORBA::TRANSIENT(); }), Error);
  try {
    Remote("x", [] { throw Error(ErrorKind::BadArgument, "mine"); });
    FAIL();
  } catch (const Error& error) {
    EXPECT_STREQ(error.what(), "mine");
  }
}

}  // namespace
}  // namespace Lumenar::Client
