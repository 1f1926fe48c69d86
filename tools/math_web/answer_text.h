// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <string>

namespace Lumenar::Web {

/// The answer to a request, done: `fields` is an object of what it tells.
std::shared_ptr<const std::string> AnswerText(std::optional<std::uint64_t> number, nlohmann::json fields);

/// The answer to a request, refused with a sentence.
std::shared_ptr<const std::string> RefusalText(std::optional<std::uint64_t> number, const std::string& sentence);

/// The answer that tells what `deed` returned, or what it threw, whatever that was.
std::shared_ptr<const std::string> AnswerOf(std::optional<std::uint64_t> number,
                                            const std::function<nlohmann::json()>& deed);

}  // namespace Lumenar::Web
