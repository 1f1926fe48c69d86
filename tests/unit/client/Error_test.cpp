// SPDX-License-Identifier: Apache-2.0
#include "client/Error.h"

#include <gtest/gtest.h>
#include <omniORB4/Naming.hh>

#include <chrono>
#include <memory>

#include "EngineAttrib.hh"
#include "MathFactory.hh"

namespace Lumenar::Client {
namespace {

struct ErrorRow {
  std::shared_ptr<CORBA::Exception> exception;
  ErrorKind kind;
  const char* text;  // nullptr: see CallProblem
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

TEST(ErrorFrom, SaysWhoWhereWhyAndWhatToDo) {
  NoteCallLimit(std::chrono::milliseconds(2500));
  EXPECT_STREQ(ErrorFrom(CORBA::TIMEOUT(), "x").what(),
               "x does not answer within 2.5 s; it hangs, is stopped, or needs more time");
  NoteCallLimit(std::chrono::milliseconds(0));
  EXPECT_STREQ(ErrorFrom(CORBA::TIMEOUT(), "x").what(),
               "x does not answer within the time limit; it hangs, is stopped, or needs more time");
  EXPECT_STREQ(ErrorFrom(CORBA::TRANSIENT(), Callee{"x", "", "is it running?"}).what(),
               "x does not answer (it cannot be reached now); is it running?");
  EXPECT_STREQ(ErrorFrom(CORBA::OBJECT_NOT_EXIST(), "x").what(), "x is gone: deleted, or its engine ended");
  EXPECT_STREQ(ErrorFrom(CORBA::NO_MEMORY(), "x").what(), "x: no memory");
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
