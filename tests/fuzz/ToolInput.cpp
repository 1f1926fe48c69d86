// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <set>

#include "client/Address.h"
#include "client/Error.h"
#include "client/values.h"
#include "instruments/replay/ReadingName.h"
#include "platform/records/Records.h"
#include "platform/wire/reference_endpoint.h"
#include "tests/fuzz/Input.h"
#include "tests/fuzz/Violation.h"
#include "tools/mathctl/command.h"

namespace Lumenar::Fuzz {
namespace {

bool CanBeShown(const std::string& text) {
  return std::none_of(text.begin(), text.end(),
                      [](char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7f; });
}

void CheckError(const Client::Error& error) { Require(CanBeShown(error.what()), "an error is one line"); }

void CheckMathId(const std::string& text) {
  const auto id = Client::MathIdFromText(text);
  if (!id) return;
  Require(*id >= 0, "an id is not negative");
  Require(Client::MathIdFromText("math:" + std::to_string(*id)) == id, "an id is read again as it was");
}

void CheckNumbers(const std::string& text) {
  try {
    const std::int32_t number = Client::LongFromText(text);
    Require(Client::LongFromText(std::to_string(number)) == number, "a long is read again as it was");
  } catch (const Client::Error& error) {
    CheckError(error);
  }
  double number = 4711;
  Corvanta::VALUE_UNITS::Units units = VALUE::UnitsToCorba(Value::C_Watts);
  try {
    Client::ScalarFromText(text, number, units);
    Require(Value::Units_library::Is_packed(VALUE::UnitsFromCorba(units)), "units are packed");
  } catch (const Client::Error& error) {
    CheckError(error);
    Require(number == 4711 && VALUE::UnitsFromCorba(units) == Value::C_Watts, "a text refused changes nothing");
  }
}

void CheckNames(const std::string& text, Input& input) {
  std::vector<Client::ReadingName> names;
  while (!input.IsEmpty() && names.size() < 8) names.push_back({input.TakeText(), input.TakeText()});
  std::set<std::string> full;
  for (const auto& name : names) full.insert(Client::FullName(name));
  for (const std::string& name : full) Require(CanBeShown(name), "a full name is one line");
  try {
    Require(Client::MatchReading(text, names) < names.size(), "a name found is one of those");
  } catch (const Client::Error& error) {
    CheckError(error);
  }
  if (full.size() != names.size()) return;
  for (std::size_t i = 0; i < names.size(); ++i) {
    // A raw name may look like the printable form of another; only a name without backslash is sure to be found.
    const std::string name = Client::FullName(names[i]);
    const bool plain =
        std::none_of(full.begin(), full.end(), [](const auto& any) { return any.find('\\') != any.npos; });
    if (plain) Require(Client::MatchReading(name, names) == i, "a full name finds its reading");
  }
}

void CheckReference(const std::string& text, Bytes whole) {
  Require(CanBeShown(EndpointOf(text)), "an endpoint can be shown");
  std::string ior = "IOR:";
  for (const std::uint8_t byte : whole) {
    ior += "0123456789abcdef"[byte >> 4];
    ior += "0123456789abcdef"[byte & 15];
  }
  Require(CanBeShown(EndpointOf(ior)), "an endpoint can be shown");
}

void CheckFileName(const std::string& text) {
  const std::string name = Replay::ReadingName(text);
  const auto fits = [](char c) { return c == '_' || (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z'); };
  Require(!name.empty() && std::all_of(name.begin(), name.end(), fits), "a reading's name is of capitals and digits");
}

}  // namespace

void ToolInput(Bytes input) {
  Input rest(input);
  const std::string text = rest.TakeText();
  CheckMathId(text);
  CheckNumbers(text);
  CheckNames(text, rest);
  CheckReference(text, input);
  CheckFileName(text);
  Require(CanBeShown(Mathctl::CheckSeconds(text)), "a complaint is one line");
}

}  // namespace Lumenar::Fuzz
