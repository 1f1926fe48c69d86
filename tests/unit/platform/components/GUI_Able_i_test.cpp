// SPDX-License-Identifier: Apache-2.0
#include "platform/components/GUI_Able_i.h"

#include <gmock/gmock.h>

#include "GuiAble.hh"
#include "platform/base/Version.h"
#include "platform/components/attributes/EngineAttribVoid_i.h"
#include "platform/components/readings/EngineReadingLong_i.h"
#include "tests/support/TopicsFixture.h"

namespace Lumenar::Test {
namespace {

using Corvanta::EngineAttribVoid_i;
using Corvanta::EngineReadingLong_i;
using testing::ElementsAre;

class GUI_AbleTest : public TopicsFixture {
 protected:
  Corvanta::GUI_Able_var Resolve() {
    CORBA::Object_var object = Orb().Resolve({"Lumenar", "local", "GUI_ABLE", Orb().GetInstanceNum("GUI_ABLE")});
    return Corvanta::GUI_Able::_narrow(object);
  }
};

std::vector<std::string> Names(Corvanta::GUI_Able_ptr gui) {
  Corvanta::ItemSeq_var items = gui->Items();
  std::vector<std::string> names;
  for (CORBA::ULong i = 0; i < items->length(); ++i) names.emplace_back(items[i].name);
  return names;
}

TEST(GUI_AbleWithoutOrb, IsAnError) { EXPECT_THROW(GUI_Able_i(), std::logic_error); }

TEST_F(GUI_AbleTest, IsFoundByNameAndNamesItsEngine) {
  GUI_Able_i gui;
  EXPECT_EQ(Orb().GetInstanceNum("GUI_ABLE"), "1");
  Corvanta::GUI_Able_var reference = Resolve();
  ASSERT_FALSE(CORBA::is_nil(reference));
  CORBA::String_var engine = reference->EngineName();
  EXPECT_STREQ(engine, "TEST/1");
  CORBA::String_var version = reference->Version();
  EXPECT_STREQ(version, Version());
}

TEST_F(GUI_AbleTest, ListsItemsInOrderOfRegistrationWhileTheyLive) {
  GUI_Able_i gui;
  Corvanta::ItemNamer namer(Orb().EngineName());
  Corvanta::GUI_Able_var reference = Resolve();
  EXPECT_THAT(Names(reference), testing::IsEmpty());
  EngineReadingLong_i second(namer, gui, "ZULU", 1);
  {
    EngineReadingLong_i between(namer, gui, "MIKE", 1);
    EngineAttribVoid_i last(namer, gui, "ALPHA", EngineAttribVoid_i::Callback());
    EXPECT_THAT(Names(reference), ElementsAre("ZULU", "MIKE", "ALPHA"));
  }
  EngineAttribVoid_i later(namer, gui, "ALPHA", EngineAttribVoid_i::Callback());
  EXPECT_THAT(Names(reference), ElementsAre("ZULU", "ALPHA.2"));

  Corvanta::ItemSeq_var items = reference->Items();
  EXPECT_STREQ(items[0].type_name, "long");
  EXPECT_STREQ(items[0].topic, "TEST/1/ZULU");
  EXPECT_FALSE(items[0].settable);
  EXPECT_STREQ(items[1].type_name, "void");
  EXPECT_TRUE(items[1].settable);
  Corvanta::EngineReadingLong_var listed = Corvanta::EngineReadingLong::_narrow(items[0].reference);
  ASSERT_FALSE(CORBA::is_nil(listed));
  EXPECT_EQ(listed->Get(), 1);
}

TEST_F(GUI_AbleTest, TellsWhatItsProcessUses) {
  GUI_Able_i gui;
  Corvanta::GUI_Able_var reference = Resolve();
  const Corvanta::ProcessUse before = reference->Use();
  EXPECT_GT(before.processor_s, 0);
  EXPECT_GT(before.resident_bytes, 1000000u);
  EXPECT_GE(reference->Use().processor_s, before.processor_s);
}

TEST_F(GUI_AbleTest, CountsLiveInstances) {
  GUI_Able_i gui;
  Corvanta::ItemNamer namer(Orb().EngineName());
  EngineReadingLong_i a(namer, gui, "A", 1);
  EngineReadingLong_i b(namer, gui, "B", 1);
  Corvanta::InstanceCountSeq_var counts = Resolve()->Instances();
  long readings = -1;
  for (CORBA::ULong i = 0; i < counts->length(); ++i) {
    if (std::string(counts[i].class_name) == "EngineReadingBase_i") readings = counts[i].live;
  }
  EXPECT_EQ(readings, 2);
}

TEST_F(GUI_AbleTest, IsGoneForClientsAfterItsEnd) {
  Corvanta::GUI_Able_var reference;
  {
    GUI_Able_i gui;
    reference = Resolve();
  }
  EXPECT_THROW(reference->Items(), CORBA::OBJECT_NOT_EXIST);
}

}  // namespace
}  // namespace Lumenar::Test
