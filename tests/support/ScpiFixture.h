// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <map>
#include <string>
#include <vector>

#include "EngineAttrib.hh"
#include "tests/support/EngineFixture.h"
#include "tests/support/ScpiServer.h"

namespace Lumenar::Test {

/// A platform with a math engine, the server that plays instruments, and an engine that reads them.
class ScpiFixture : public EngineFixture {
 protected:
  explicit ScpiFixture(std::vector<std::string> server_options = {}) : server_(std::move(server_options)) {}

  /// Starts the engine with one device file of this text.
  Process& StartScpi(const std::string& device_file, std::map<std::string, std::string> environment = {});

  /// Starts it with SCPI_DEVICES.
  Process& StartScpiWith(const std::string& devices, std::map<std::string, std::string> environment = {});

  /// The items that the engine offers now, as "LEVEL BasicTrace".
  std::vector<std::string> Items();

  /// An item, as soon as it is offered; nil, and a failure of the test, when it is not within 20 s.
  template <class Interface>
  typename Interface::_var_type Item(const std::string& name) {
    Corvanta::EngineReadingBase_var item = ItemNamed(name);
    return typename Interface::_var_type(Interface::_narrow(item));
  }

  /// Its present trace.
  BT_DATA TraceNow(const std::string& name);
  Scalar ScalarNow(const std::string& name);

  std::string TopicOf(const std::string& name);

  /// How often a text stands in the engine's standard error.
  std::size_t Lines(const std::string& part);

  ScpiServer server_;
  Process* scpi_ = nullptr;

 private:
  Corvanta::EngineReadingBase_var ItemNamed(const std::string& name);
  Corvanta::EngineReadingBase_var FindItem(const std::string& name);
};

}  // namespace Lumenar::Test
