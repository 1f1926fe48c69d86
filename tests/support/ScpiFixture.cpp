// SPDX-License-Identifier: Apache-2.0
#include "tests/support/ScpiFixture.h"

#include "GuiAble.hh"

namespace Lumenar::Test {

Process& ScpiFixture::StartScpi(const std::string& device_file, std::map<std::string, std::string> environment) {
  const auto path = platform_.Directory() / "device.scpi";
  WriteText(path, device_file);
  return StartScpiWith(path.string(), std::move(environment));
}

Process& ScpiFixture::StartScpiWith(const std::string& devices, std::map<std::string, std::string> environment) {
  environment["SCPI_DEVICES"] = devices;
  scpi_ = &platform_.StartEngine("scpi", std::move(environment));
  return *scpi_;
}

std::vector<std::string> ScpiFixture::Items() {
  CORBA::Object_var object = bench_.Orb().Resolve({"Lumenar", "local", "SCPI", "1"});
  Corvanta::GUI_Able_var registration = Corvanta::GUI_Able::_narrow(object);
  Corvanta::ItemSeq_var items = registration->Items();
  std::vector<std::string> lines;
  for (CORBA::ULong i = 0; i < items->length(); ++i)
    lines.push_back(std::string(items[i].name) + " " + items[i].type_name.in() + (items[i].settable ? " set" : ""));
  return lines;
}

Corvanta::EngineReadingBase_var ScpiFixture::FindItem(const std::string& name) {
  CORBA::Object_var object = bench_.Orb().Resolve({"Lumenar", "local", "SCPI", "1"});
  Corvanta::GUI_Able_var registration = Corvanta::GUI_Able::_narrow(object);
  Corvanta::ItemSeq_var items = registration->Items();
  for (CORBA::ULong i = 0; i < items->length(); ++i)
    if (name == items[i].name.in()) return Corvanta::EngineReadingBase::_duplicate(items[i].reference);
  return Corvanta::EngineReadingBase_var();
}

Corvanta::EngineReadingBase_var ScpiFixture::ItemNamed(const std::string& name) {
  Corvanta::EngineReadingBase_var found;
  EXPECT_TRUE(WaitUntil([&] { return !CORBA::is_nil(found = FindItem(name)); }, std::chrono::seconds(20)))
      << name << " is not offered; the engine says: " << scpi_->Error();
  return found;
}

BT_DATA ScpiFixture::TraceNow(const std::string& name) {
  Corvanta::BASIC_TRACE::BT_DATA_var record = Item<Corvanta::EngineBasicTrace>(name)->Get();
  return record.in();
}

Scalar ScpiFixture::ScalarNow(const std::string& name) { return Item<Corvanta::EngineReadingValueDouble>(name)->Get(); }

std::string ScpiFixture::TopicOf(const std::string& name) {
  Corvanta::EngineReadingBase_var item = ItemNamed(name);
  CORBA::String_var topic = item->DDS_Value();
  return topic.in();
}

std::size_t ScpiFixture::Lines(const std::string& part) {
  const std::string text = scpi_->Error();
  std::size_t count = 0;
  for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) ++count;
  return count;
}

}  // namespace Lumenar::Test
