// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "client/MathName.h"
#include "tools/mathctl/command.h"

namespace Lumenar::Mathctl {

/// The math objects that texts mean, none twice: names as in Session::MathFrom, or patterns of them, as "math:*".
/// Errors   Client::Error BadArgument for a text that is no math object's; NotFound for a pattern that none fits.
std::vector<Client::MathName> FindObjects(const Session& session, const std::vector<std::string>& texts);

/// Whether one of the texts is a pattern.
bool HasWildcard(const std::vector<std::string>& texts);

/// Does something with each object; one that fails does not keep the others from it.
/// Errors   the first of `each`, at the end; further ones have become lines on standard error.
void ForEachObject(const std::vector<Client::MathName>& objects,
                   const std::function<void(const Client::MathName&)>& each);

}  // namespace Lumenar::Mathctl
