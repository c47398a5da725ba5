// SPDX-License-Identifier: Apache-2.0

#include "base/nearest_word.h"

#include <algorithm>
#include <cstddef>
#include <numeric>
#include <string>
#include <utility>
#include <vector>

namespace corvo::corvo_internal::base {
namespace {

// The letters in lower case, without separators.
std::string folded(std::string_view text) {
  std::string letters;
  for (const char c : text) {
    if (c == '_' || c == '-' || c == ' ') continue;
    letters += c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
  }
  return letters;
}

// The optimal string alignment distance: no letter is edited twice. Takes time proportional to the
// product of the sizes.
std::size_t editDistance(std::string_view from, std::string_view to) {
  // Rows of the distance table: the cost of every prefix of `to` from a prefix of `from`, from the
  // prefix one letter shorter, and from the one two letters shorter.
  std::vector<std::size_t> now(to.size() + 1);
  std::vector<std::size_t> last(now.size());
  std::vector<std::size_t> lastButOne(now.size());
  std::iota(now.begin(), now.end(), std::size_t{0});
  for (std::size_t i = 1; i <= from.size(); ++i) {
    std::swap(lastButOne, last);
    std::swap(last, now);
    now[0] = i;
    for (std::size_t j = 1; j <= to.size(); ++j) {
      const std::size_t replaced = last[j - 1] + (from[i - 1] == to[j - 1] ? 0 : 1);
      now[j] = std::min({replaced, last[j] + 1, now[j - 1] + 1});
      const bool swapped = i > 1 && j > 1 && from[i - 1] == to[j - 2] && from[i - 2] == to[j - 1];
      if (swapped) now[j] = std::min(now[j], lastButOne[j - 2] + 1);
    }
  }
  return now.back();
}

}  // namespace

std::string_view nearestWord(std::string_view text, std::span<const std::string_view> words) {
  constexpr std::size_t kLongest = 64;  // longer texts resemble no word
  if (text.size() > kLongest) return {};
  const std::string wanted = folded(text);
  const std::size_t mayDiffer = (wanted.size() >= 2 ? 1 : 0) + (wanted.size() >= 6 ? 1 : 0);
  std::string_view best;
  std::size_t least = mayDiffer + 1;
  for (const std::string_view word : words) {
    const std::size_t far = editDistance(wanted, folded(word));
    if (far >= least) continue;
    least = far;
    best = word;
  }
  return best;
}

}  // namespace corvo::corvo_internal::base
