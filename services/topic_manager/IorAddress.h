#pragma once

#include <string>

namespace Lumenar {

/// Where the process of an object listens, from its stringified reference: "HOST:PORT" of the first TCP profile. Any
/// other reference is its own address, so that it shares its fate with no other.
/// Errors   none, whatever the text.
std::string IorAddress(const std::string& reference);

}  // namespace Lumenar
