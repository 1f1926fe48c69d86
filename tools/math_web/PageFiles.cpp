// SPDX-License-Identifier: Apache-2.0
#include "tools/math_web/PageFiles.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdint>
#include <exception>
#include <filesystem>
#include <iterator>

#include "platform/base/TextFile.h"
#include "tools/math_web/Access.h"

namespace Lumenar::Web {
namespace {

constexpr std::size_t kLargestFile = std::size_t{16} << 20;

struct TypeOfEnding {
  std::string_view ending;
  const char* type;
};
constexpr TypeOfEnding kTypes[] = {
    {".html", "text/html; charset=utf-8"},
    {".css", "text/css; charset=utf-8"},
    {".js", "text/javascript; charset=utf-8"},
    {".mjs", "text/javascript; charset=utf-8"},
    {".svg", "image/svg+xml"},
    {".png", "image/png"},
    {".ico", "image/x-icon"},
    {".json", "application/json"},
    {".webmanifest", "application/manifest+json"},
};

const char* TypeOf(std::string_view file) {
  const auto known = std::find_if(std::begin(kTypes), std::end(kTypes),
                                  [&](const TypeOfEnding& one) { return file.ends_with(one.ending); });
  return known == std::end(kTypes) ? "text/plain; charset=utf-8" : known->type;
}

/// The file of a path; empty for one that is none of the page's.
std::string FileOf(std::string_view path) {
  constexpr std::string_view kPage = "/page/", kVendor = "/vendor/";
  if (path == "/" || path == "/index.html") return "index.html";
  if (path == "/favicon.ico") return "favicon.ico";
  if (path.starts_with(kPage)) return std::string(path.substr(kPage.size()));
  if (path.starts_with(kVendor)) return std::string(path.substr(1));
  return {};
}

/// FNV-1a: it tells versions of a file apart, which is all that it is for.
std::string TagOf(std::string_view contents) {
  std::uint64_t hash = 0xcbf29ce484222325U;
  for (const char byte : contents) hash = (hash ^ static_cast<unsigned char>(byte)) * 0x100000001b3U;
  return fmt::format("\"{:016x}\"", hash);
}

bool IsKnown(std::string_view known, const std::string& tag) {
  const auto tags = ListOf(known);
  return std::any_of(tags.begin(), tags.end(), [&](std::string_view one) { return one == tag || one == "*"; });
}

}  // namespace

std::shared_ptr<const std::string> PageFiles::Contents(std::string_view file) const {
  if (folder_.empty()) {
    const auto files = BuiltInFiles();
    const auto built_in = std::find_if(files.begin(), files.end(), [&](const auto& one) { return one.path == file; });
    return built_in == files.end() ? nullptr : std::make_shared<const std::string>(built_in->contents);
  }
  try {
    TextFile read(std::filesystem::path(folder_) / file);
    return std::make_shared<const std::string>(read.Rest(kLargestFile));
  } catch (const std::exception&) {  // is not there, or is nothing that can be read
    return nullptr;
  }
}

std::optional<Reply> PageFiles::Find(std::string_view path, std::string_view known) const {
  const std::string file = FileOf(path);
  if (file.empty()) return std::nullopt;
  const auto contents = Contents(file);
  if (contents == nullptr) return std::nullopt;
  const std::string tag = TagOf(*contents);
  Reply reply;
  reply.type = TypeOf(file);
  reply.headers = {{"ETag", tag}, {"Cache-Control", "no-cache"}};
  if (IsKnown(known, tag)) {
    reply.status = 304;
  } else {
    reply.body = contents;
  }
  return reply;
}

}  // namespace Lumenar::Web
