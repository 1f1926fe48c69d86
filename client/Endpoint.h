#pragma once

#include <string>
#include <string_view>

namespace Lumenar::Client {

/// "HOST:PORT" of the first internet endpoint in a stringified object reference ("IOR:..."); empty when it has none.
std::string EndpointOf(std::string_view ior);

}  // namespace Lumenar::Client
