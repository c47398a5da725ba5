#include "base/edit_distance.h"

#include <algorithm>
#include <numeric>
#include <utility>
#include <vector>

namespace corvo::corvo_internal::base {

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

}  // namespace corvo::corvo_internal::base
