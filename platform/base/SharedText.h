// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <boost/make_shared.hpp>
#include <boost/shared_ptr.hpp>
#include <string>
#include <utility>

namespace Lumenar {

/// A text that never changes and that many keep, as all parts of an item its topic: copies share its memory.
/// Threads   a value.
class SharedText {
 public:
  /// Errors   std::bad_alloc.
  SharedText(std::string text) : text_(boost::make_shared<const std::string>(std::move(text))) {}
  SharedText(const char* text) : SharedText(std::string(text)) {}
  SharedText() : SharedText(std::string()) {}

  const std::string& Text() const noexcept { return *text_; }
  const char* c_str() const noexcept { return text_->c_str(); }

  friend bool operator==(const SharedText& a, const std::string& b) noexcept { return a.Text() == b; }

 private:
  boost::shared_ptr<const std::string> text_;  // never null
};

}  // namespace Lumenar
