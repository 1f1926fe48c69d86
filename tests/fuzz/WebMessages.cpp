// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <cmath>
#include <vector>

#include "tests/fuzz/Input.h"
#include "tests/fuzz/Violation.h"
#include "tools/math_web/Access.h"
#include "tools/math_web/PageFiles.h"
#include "tools/math_web/Request.h"
#include "tools/math_web/named_reading.h"
#include "tools/math_web/trace_columns.h"

namespace Lumenar::Fuzz {
namespace {

using Web::Request;

bool HasNoControls(const std::string& text) {
  return std::none_of(text.begin(), text.end(),
                      [](char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7f; });
}

void CheckView(const Web::View& view) {
  Require(view.columns <= Web::kMostColumns, "columns have a limit");
  for (const auto& limit : {view.from, view.to}) Require(!limit || std::isfinite(*limit), "a range is finite");
  const std::vector<float> samples(100, 1.0F);
  const auto columns = Web::Thin(samples, {5, -0.5}, view);
  Require(columns.values.size() <= std::size_t{2} * view.columns, "a picture is no larger than its width");
}

void CheckMessage(const std::string& text) {
  try {
    const Request request = Web::ParseRequest(text);
    const bool needs_number = request.deed != Request::Deed::Ready && request.deed != Request::Deed::Unsubscribe;
    Require(request.number.has_value() || !needs_number, "what is answered has a number");
    Require(request.name.size() <= 1024 && request.inputs.size() <= 16, "names and inputs have limits");
    const auto open = std::count(request.inputs.begin(), request.inputs.end(), std::nullopt);
    Require(open == 0 || request.deed == Request::Deed::Fits, "inputs of an object to be are all there");
    CheckView(request.view);
    if (const auto object = Web::ObjectFrom(request.name, "MATHFACTORY/1"))
      Require(object->object.id >= 0, "an id is not negative");
  } catch (const Web::RequestError& error) {
    Require(HasNoControls(error.what()), "a complaint is one line");
  }
}

void CheckTarget(const std::string& target) {
  const std::string path = Web::PathOf(target);
  Require(path.empty() || path.front() == '/', "a path begins with /");
  Require(HasNoControls(path) && path.find("..") == std::string::npos, "a path does not climb");
  const auto file = Web::PageFiles("").Find(path, target);
  Require(!file || file->status == 200 || file->status == 304, "a file is there or not");
}

void CheckHead(Input& rest) {
  const Web::Access access({Web::HostsOf("127.0.0.1", 80), "0123456789abcdef"});
  const Web::Credentials asked{rest.TakeText(), rest.TakeText(), rest.TakeText(), rest.TakeText()};
  const auto refusal = access.RefuseLive(asked);
  if (refusal) Require(HasNoControls(refusal->text), "a refusal is one line");
  const bool shows_token = asked.authorization.find("0123456789abcdef") != std::string::npos ||
                           asked.protocols.find("0123456789abcdef") != std::string::npos;
  Require(refusal || shows_token, "nobody gets in without the token");
}

}  // namespace

void WebMessages(Bytes input) {
  CheckMessage(TextOf(input));
  CheckTarget(TextOf(input));
  Input rest(input);
  CheckHead(rest);
}

}  // namespace Lumenar::Fuzz
