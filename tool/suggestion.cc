#include "tool/suggestion.h"

#include <algorithm>
#include <cstddef>
#include <numeric>
#include <utility>
#include <vector>

namespace corvo::tool {
namespace {

/// The distance of Damerau and Levenshtein, in which no letter is changed twice.
std::size_t distance(std::string_view from, std::string_view to) {
  // What it costs to make the beginnings of `to` of a beginning of `from`, of the one a letter
  // shorter, and of the one two letters shorter.
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

std::optional<std::string> nearest(std::string_view typed, std::span<const std::string> known) {
  const std::size_t hyphens = std::min(typed.find_first_not_of('-'), typed.size());
  std::size_t limit = (typed.size() - hyphens + 1) / 3;
  std::optional<std::string> best;
  for (const std::string& each : known) {
    const std::size_t longer = std::max(each.size(), typed.size());
    if (longer - std::min(each.size(), typed.size()) > limit) continue;
    const std::size_t changes = distance(typed, each);
    if (changes > limit || (best && changes == limit)) continue;
    best = each;
    limit = changes;
  }
  return best;
}

}  // namespace corvo::tool
