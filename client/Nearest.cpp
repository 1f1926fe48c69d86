// SPDX-License-Identifier: Apache-2.0
#include "client/Nearest.h"

#include <algorithm>
#include <numeric>
#include <utility>

#include "client/Text.h"

namespace Lumenar::Client {
namespace {

constexpr std::size_t kMostNear = 3;
constexpr std::size_t kFarthest = 8;
constexpr std::size_t kLongestWord = 256;  // nobody types longer ones by hand; the time grows with the square

}  // namespace

std::size_t EditDistance(std::string_view a, std::string_view b, std::size_t limit) {
  if (std::max(a.size(), b.size()) - std::min(a.size(), b.size()) > limit) return limit + 1;
  if (std::max(a.size(), b.size()) > kLongestWord) return SameLetters(a, b) ? 0 : limit + 1;
  std::vector<std::size_t> before(b.size() + 1), last(b.size() + 1), row(b.size() + 1);
  std::iota(last.begin(), last.end(), std::size_t{0});
  for (std::size_t i = 1; i <= a.size(); ++i) {
    row[0] = i;
    for (std::size_t j = 1; j <= b.size(); ++j) {
      const bool same = LowerCase(a[i - 1]) == LowerCase(b[j - 1]);
      row[j] = std::min({last[j] + 1, row[j - 1] + 1, last[j - 1] + (same ? 0 : 1)});
      const bool swapped =
          i > 1 && j > 1 && LowerCase(a[i - 1]) == LowerCase(b[j - 2]) && LowerCase(a[i - 2]) == LowerCase(b[j - 1]);
      if (swapped) row[j] = std::min(row[j], before[j - 2] + 1);
    }
    std::swap(before, last);
    std::swap(last, row);
  }
  return std::min(last[b.size()], limit + 1);
}

std::size_t NearLimit(std::string_view word) { return std::clamp(word.size() / 3, std::size_t{1}, kFarthest); }

std::vector<std::string> Nearest(std::string_view word, const std::vector<std::string>& known) {
  const std::size_t limit = NearLimit(word);
  std::vector<std::pair<std::size_t, std::string>> found;
  for (const std::string& candidate : known) {
    const std::size_t distance = EditDistance(word, candidate, limit);
    if (distance <= limit && distance < candidate.size()) found.emplace_back(distance, candidate);
  }
  std::stable_sort(found.begin(), found.end(), [](const auto& a, const auto& b) { return a.first < b.first; });
  std::vector<std::string> near;
  for (auto& [distance, candidate] : found) {
    if (distance > found.front().first + 1) break;
    const bool is_new = std::find(near.begin(), near.end(), candidate) == near.end();
    if (is_new && near.size() < kMostNear) near.push_back(std::move(candidate));
  }
  return near;
}

std::string NearText(const std::vector<std::string>& near) {
  std::string text;
  for (const std::string& word : near) text += (text.empty() ? "; near: " : ", ") + word;
  return text;
}

}  // namespace Lumenar::Client
