// SPDX-License-Identifier: Apache-2.0
#include "tools/math_web/answer_text.h"

#include <omniORB4/CORBA.h>

#include <exception>
#include <nlohmann/json.hpp>
#include <utility>

#include "client/Text.h"
#include "platform/orb/CorbaText.h"

namespace Lumenar::Web {
namespace {

using nlohmann::json;

std::shared_ptr<const std::string> Finished(json answer, std::optional<std::uint64_t> number, bool ok) {
  answer["type"] = "answer";
  answer["request"] = number ? json(*number) : json();
  answer["ok"] = ok;
  return std::make_shared<const std::string>(answer.dump(-1, ' ', false, json::error_handler_t::replace));
}

}  // namespace

std::shared_ptr<const std::string> AnswerText(std::optional<std::uint64_t> number, json fields) {
  return Finished(std::move(fields), number, true);
}

std::shared_ptr<const std::string> RefusalText(std::optional<std::uint64_t> number, const std::string& sentence) {
  return Finished({{"error", sentence}}, number, false);
}

std::shared_ptr<const std::string> AnswerOf(std::optional<std::uint64_t> number, const std::function<json()>& deed) {
  try {
    return AnswerText(number, deed());
  } catch (const CORBA::Exception& exception) {
    return RefusalText(number, CorbaText(exception));
  } catch (const std::exception& exception) {
    return RefusalText(number, Client::Printable(exception.what()));
  }
}

}  // namespace Lumenar::Web
