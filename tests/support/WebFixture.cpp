// SPDX-License-Identifier: Apache-2.0
#include "tests/support/WebFixture.h"

#include <algorithm>
#include <cstdlib>

namespace Lumenar::Test {

using nlohmann::json;

WebFixture::WebFixture() : math_(&platform_.StartEngine("math_factory_hh")) {}

void WebFixture::StartWeb(const std::vector<std::string>& arguments, const std::string& sim) {
  if (!has_sim_ && !sim.empty()) platform_.StartEngine("sim", {{"SIM_READINGS", sim}});
  has_sim_ = has_sim_ || !sim.empty();
  std::vector<std::string> all{"--listen", "127.0.0.1:0"};
  all.insert(all.end(), arguments.begin(), arguments.end());
  web_.reset();
  web_ = platform_.Start("math_web", all);
  const std::string ready = "math_web ready at http://127.0.0.1:";
  const auto port = [&] {
    const std::string out = web_->Out();
    const std::size_t at = out.find(ready);
    return at == std::string::npos || out.find('\n', at) == std::string::npos
               ? 0
               : std::atoi(out.c_str() + at + ready.size());
  };
  ASSERT_TRUE(WaitUntil([&] { return port() != 0; })) << web_->Out() << web_->Error();
  port_ = static_cast<unsigned short>(port());
}

std::string WebFixture::Mathctl(const std::vector<std::string>& words) {
  const auto mathctl = platform_.Start("mathctl", words);
  EXPECT_EQ(mathctl->WaitForExit(), 0) << mathctl->Error();
  return mathctl->Out();
}

json WebFixture::StateWhere(WebClient& client, const std::function<bool(const json&)>& fits) {
  const auto state =
      client.WaitFor([&](const WebMessage& message) { return message.IsText("state") && fits(message.text); },
                     std::chrono::seconds(20));
  return state ? state->text : json();
}

json WebFixture::ObjectOf(const json& state, const std::string& name) {
  const json objects = state.value("objects", json::array());
  const auto found =
      std::find_if(objects.begin(), objects.end(), [&](const json& one) { return one.value("name", "") == name; });
  return found == objects.end() ? json() : *found;
}

}  // namespace Lumenar::Test
