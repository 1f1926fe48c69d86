// SPDX-License-Identifier: Apache-2.0
#include "platform/wire/MarshalledValue.h"

#include <gtest/gtest.h>

#include "DDS.hh"

namespace Corvanta {
namespace {

TEST(MarshalledValue, ComesBackAsItWasEachTime) {
  HandleSeq handles;
  handles.length(3);
  for (CORBA::ULong i = 0; i < 3; ++i) handles[i] = static_cast<CORBA::Long>(i) - 1;
  const MarshalledValue kept(handles);
  handles.length(0);
  for (int time = 0; time < 2; ++time) {
    HandleSeq_var back = kept.NewValue();
    ASSERT_EQ(back->length(), 3U);
    EXPECT_EQ(back[0U], -1);
    EXPECT_EQ(back[2U], 1);
  }
}

TEST(MarshalledValue, OfNothingIsTheDefault) {
  const HandleSeq_var none = MarshalledValue<HandleSeq>().NewValue();
  EXPECT_EQ(none->length(), 0U);
}

}  // namespace
}  // namespace Corvanta
