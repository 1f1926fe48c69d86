// SPDX-License-Identifier: Apache-2.0
#include "platform/orb/reference_type.h"

#include <gtest/gtest.h>

#include "DDS.hh"
#include "platform/orb/ORB_base.h"

namespace Corvanta {
namespace {

/// A subscriber that takes several samples in a call, which is a subscriber of one, too.
class GroupOfNone : public POA_Corvanta::DDS_GroupSub {
 public:
  void DDS_Callback(const CORBA::Any&) override {}
  CORBA::Long GetId() override { return 0; }
  HandleSeq* DDS_Group(const SharedSampleSeq&) override { return new HandleSeq; }
};

TEST(ReferenceType, IsTheOneThatTheReferenceWasMadeForAndNoOther) {
  constexpr const char* kProgram[] = {"orb_test"};
  ORB_base orb(1, kProgram);
  PortableServer::Servant_var<GroupOfNone> servant(new GroupOfNone);
  CORBA::Object_var reference = servant->_this();
  EXPECT_TRUE(IsOfType(reference, "IDL:Corvanta/DDS_GroupSub:1.0"));
  EXPECT_FALSE(IsOfType(reference, "IDL:Corvanta/DDS_Sub:1.0")) << "a type that it inherits from is another";
  EXPECT_FALSE(IsOfType(reference, ""));
  EXPECT_FALSE(IsOfType(CORBA::Object::_nil(), "IDL:Corvanta/DDS_GroupSub:1.0"));
}

}  // namespace
}  // namespace Corvanta
