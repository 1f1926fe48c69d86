// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

#include "tests/support/Wire.h"

namespace Lumenar::Test {

/// Where an operation that takes an any has it in its argument list: alone, with a topic name behind it, or in a
/// sequence, each with the handles that it is for behind it.
enum class AnyOperation { Callback, Publish, Group };

/// The name of the operation in IDL.
const char* NameOf(AnyOperation operation);

/// Arguments that no client of ours sends.
struct HostileMessage {
  std::string name;
  Corvanta::Test::Wire arguments;
};

/// Wrong types, type codes that lie about their members and lengths, anys in anys, types nested up to 1 MB, values that
/// lie.
std::vector<HostileMessage> HostileAnys(AnyOperation operation);

/// The arguments of a harmless call: a long.
Corvanta::Test::Wire HarmlessAny(AnyOperation operation);

}  // namespace Lumenar::Test
