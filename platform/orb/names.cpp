// SPDX-License-Identifier: Apache-2.0
#include "platform/orb/names.h"

#include <utility>

namespace Corvanta {

NamePath Components(std::string_view text, std::size_t most) {
  NamePath components;
  for (auto slash = text.find('/'); slash != std::string_view::npos && components.size() + 1 < most;
       slash = text.find('/')) {
    components.emplace_back(text.substr(0, slash));
    text.remove_prefix(slash + 1);
  }
  components.emplace_back(text);
  return components;
}

NamePath LocalPath(std::string_view name) {
  constexpr std::size_t kNameAndInstance = 2;
  NamePath path = Components(kLocalContext);
  for (std::string& component : Components(name, kNameAndInstance)) path.push_back(std::move(component));
  return path;
}

std::string LocalPathText(std::string_view name) { return std::string(kLocalContext) + '/' + std::string(name); }

std::string_view NameWithoutInstance(std::string_view name) { return name.substr(0, name.find('/')); }

}  // namespace Corvanta
