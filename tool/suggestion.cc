#include "tool/suggestion.h"

#include <algorithm>
#include <cstddef>

#include "base/edit_distance.h"

namespace corvo::tool {
std::optional<std::string> nearest(std::string_view typed, std::span<const std::string> known) {
  const std::size_t hyphens = std::min(typed.find_first_not_of('-'), typed.size());
  std::size_t limit = (typed.size() - hyphens + 1) / 3;
  std::optional<std::string> best;
  for (const std::string& each : known) {
    const std::size_t longer = std::max(each.size(), typed.size());
    if (longer - std::min(each.size(), typed.size()) > limit) continue;
    const std::size_t changes = corvo_internal::base::editDistance(typed, each);
    if (changes > limit || (best && changes == limit)) continue;
    best = each;
    limit = changes;
  }
  return best;
}

}  // namespace corvo::tool
