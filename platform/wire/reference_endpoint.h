// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>

namespace Lumenar {

/// Where the process of an object listens, from its stringified reference ("IOR:..."): "HOST:PORT" of the first
/// internet profile that can be read, or "unix:PATH" of a process that listens at a socket of its machine alone; empty
/// when there is none.
/// Errors   none, whatever the text.
std::string EndpointOf(std::string_view reference);

}  // namespace Lumenar
