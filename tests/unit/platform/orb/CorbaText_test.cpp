// SPDX-License-Identifier: Apache-2.0
#include "platform/orb/CorbaText.h"

#include <gtest/gtest.h>
#include <omniORB4/minorCode.h>

namespace Lumenar {
namespace {

TEST(CorbaText, NamesTheExceptionTheReasonAndTheCompletion) {
  const CORBA::TRANSIENT connect_failed(omni::TRANSIENT_ConnectFailed, CORBA::COMPLETED_NO);
  EXPECT_EQ(CorbaText(connect_failed), "TRANSIENT (TRANSIENT_ConnectFailed, not completed)");
  const CORBA::MARSHAL unknown_minor(77, CORBA::COMPLETED_YES);
  EXPECT_EQ(CorbaText(unknown_minor), "MARSHAL (minor 0x4d, completed)");
  const CORBA::UNKNOWN maybe(77, CORBA::COMPLETED_MAYBE);
  EXPECT_EQ(CorbaText(maybe), "UNKNOWN (minor 0x4d, perhaps completed)");
}

TEST(CorbaText, AUserExceptionIsItsName) { EXPECT_EQ(CorbaText(CORBA::ORB::InvalidName()), "InvalidName"); }

}  // namespace
}  // namespace Lumenar
