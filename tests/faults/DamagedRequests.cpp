// SPDX-License-Identifier: Apache-2.0
#include "tests/faults/DamagedRequests.h"

#include "tests/faults/HostileMessages.h"

namespace Lumenar::Test {

using namespace Corvanta::Test;

std::vector<std::string> WholeRequests(const ObjectAddress& factory, const ObjectAddress& manager,
                                       const ObjectAddress& subscriber) {
  RawClient to_factory(factory), to_manager(manager), to_subscriber(subscriber);
  const Wire nil_references = Wire().Ulong(2).Ulong(1).Octet(0).Ulong(0).Ulong(1).Octet(0).Ulong(0);
  const Wire subscribe = Wire().Text("TOPIC").Ulong(1).Octet(0).Ulong(0);
  return {to_factory.Request("ListMath", Wire()),
          to_factory.Request("GetMath", Wire().Ulong(3)),
          to_factory.Request("CreateMath", nil_references),
          to_factory.Request("_is_a", Wire().Text("IDL:Corvanta/MathFactory/Interfaces:1.0")),
          to_manager.Request("Publish", HarmlessAny(AnyOperation::Publish)),
          to_manager.Request("Subscribe", subscribe),
          to_manager.Request("LastSample", Wire().Text("HARMLESS")),
          to_subscriber.Request("DDS_Callback", HarmlessAny(AnyOperation::Callback)),
          to_subscriber.Request("DDS_Group", HarmlessAny(AnyOperation::Group))};
}

std::string Noise::Bytes(std::size_t count) {
  std::string bytes(count, '\0');
  for (char& byte : bytes) byte = static_cast<char>(Below(256));
  return bytes;
}

std::string Noise::Damaged(std::string request) {
  for (std::size_t change = 0, changes = 1 + Below(4); change < changes && !request.empty(); ++change) {
    const std::size_t at = Below(request.size());
    switch (Below(6)) {
      case 0: request.resize(at); break;
      case 1: request.erase(at, 1 + Below(8)); break;
      case 2: request.insert(at, request.substr(at, 1 + Below(32))); break;
      case 3: request.replace(at & ~std::size_t{3}, 4, std::string(4, '\xff')); break;
      default: request[at] = static_cast<char>(Below(256)); break;
    }
  }
  return request;
}

std::string Noise::DamagedWithin(std::string request) {
  constexpr std::size_t kHeader = 12;
  for (std::size_t change = 0, changes = 1 + Below(4); change < changes; ++change) {
    const std::size_t at = kHeader + Below(request.size() - kHeader);
    request[at] = static_cast<char>(Below(4) == 0 ? 0xff : Below(256));
  }
  return request;
}

}  // namespace Lumenar::Test
