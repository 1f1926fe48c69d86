// SPDX-License-Identifier: Apache-2.0
// Looks for the devices of a name, once, and writes a line of JSON for each. A program of its own, so that whoever
// waits for it can end it: a device that does not answer holds a scan for ever.

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include <csignal>
#include <exception>
#include <string>

#include "instruments/sigrok/OpenDevice.h"
#include "platform/base/Diagnostic.h"
#include "platform/base/ParseArguments.h"
#include "platform/base/output_error.h"

namespace {

using Lumenar::Sigrok::DeviceName;

std::string TextOf(const char* text) { return text != nullptr ? text : ""; }

/// The name by which this device alone is found: with its place, where others are found too.
DeviceName NameOf(const DeviceName& asked, const sr_dev_inst* device, bool alone) {
  DeviceName name = asked;
  const std::string place = TextOf(sr_dev_inst_connid_get(device));
  if (!alone && asked.Connection().empty() && !place.empty()) name.options.push_back({"", "conn", place});
  return name;
}

std::string LineOf(const DeviceName& asked, const sr_dev_inst* device, bool alone) {
  const nlohmann::ordered_json line{
      {"device", NameOf(asked, device, alone).Text()},    {"vendor", TextOf(sr_dev_inst_vendor_get(device))},
      {"model", TextOf(sr_dev_inst_model_get(device))},   {"version", TextOf(sr_dev_inst_version_get(device))},
      {"serial", TextOf(sr_dev_inst_sernum_get(device))}, {"channels", Lumenar::Sigrok::AnalogChannels(device)}};
  return line.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace);
}

int ScanFor(const std::string& text, int log_level) {
  const DeviceName name = Lumenar::Sigrok::ParseDeviceName(text);
  const Lumenar::Sigrok::SigrokLibrary library(log_level);
  const Lumenar::Sigrok::ListPtr found = Lumenar::Sigrok::Scan(library, name);
  const bool alone = g_slist_length(found.get()) == 1;
  for (const GSList* item = found.get(); item != nullptr; item = item->next)
    Lumenar::WriteOut(LineOf(name, static_cast<const sr_dev_inst*>(item->data), alone));
  return Lumenar::CheckOutput("sigrok_scan", 0);
}

}  // namespace

int main(int argc, char** argv) {
  std::signal(SIGPIPE, SIG_IGN);
  std::string device;
  int log_level = 0;
  int exit_code = 0;
  CLI::App app("Looks for devices that libsigrok has a driver for, and writes a line of JSON for each that answers.",
               "sigrok_scan");
  app.add_option("DEVICE", device, "DRIVER or DRIVER:KEY=VALUE..., as demo or uni-t-ut61b-ser:conn=/dev/ttyUSB0")
      ->required();
  app.add_option("--log", log_level, "What libsigrok says on standard error: 0, nothing, to 5")
      ->check(CLI::Range(0, 5));
  if (!Lumenar::ParseArguments(app, argc, argv, exit_code)) return exit_code;
  try {
    return ScanFor(device, log_level);
  } catch (const std::exception& error) {
    Lumenar::WriteError(std::string("sigrok_scan: ") + error.what());
    return 1;
  }
}
