// SPDX-License-Identifier: Apache-2.0

#include "base/text_index.h"

#include <algorithm>
#include <utility>

namespace corvo::corvo_internal::base {
namespace {

using Places = std::vector<std::uint32_t>;

// Sorts positions by rank; equal ranks keep their order.
void sortByRank(const Places& places, const Places& rank, Places& sorted) {
  Places begin(std::max<std::size_t>(places.size(), 256) + 1);
  for (const std::uint32_t place : places) ++begin[rank[place] + 1];
  for (std::size_t i = 1; i < begin.size(); ++i) begin[i] += begin[i - 1];
  for (const std::uint32_t place : places) sorted[begin[rank[place]]++] = place;
}

}  // namespace

// Sorts the suffixes by their first byte, then by their first two, four and so on. The second half
// of each compared piece is the beginning of another suffix, whose rank is already known.
TextIndex::TextIndex(std::string_view text) : text_(text), order_(text.size()) {
  const auto size = static_cast<std::uint32_t>(text.size());
  Places rank(size);
  Places bySecondHalf(size);
  for (std::uint32_t i = 0; i < size; ++i) {
    rank[i] = static_cast<unsigned char>(text[i]);
    bySecondHalf[i] = i;
  }
  sortByRank(bySecondHalf, rank, order_);
  Places nextRank(size);
  for (std::uint32_t half = 1; half < size; half *= 2) {
    std::uint32_t next = 0;  // suffixes without a second half come first
    for (std::uint32_t i = size - half; i < size; ++i) bySecondHalf[next++] = i;
    for (const std::uint32_t place : order_) {
      if (place >= half) bySecondHalf[next++] = place - half;
    }
    sortByRank(bySecondHalf, rank, order_);
    const auto bothRanks = [&](std::uint32_t place) {
      return std::pair(rank[place], place < size - half ? rank[place + half] + 1 : 0);
    };
    std::uint32_t last = 0;
    for (std::uint32_t i = 0; i < size; ++i) {
      if (i > 0 && bothRanks(order_[i]) != bothRanks(order_[i - 1])) ++last;
      nextRank[order_[i]] = last;
    }
    rank.swap(nextRank);
    if (last + 1 == size) break;
  }
}

bool TextIndex::contains(std::string_view part) const {
  const auto startAt = [&](std::uint32_t place) { return text_.substr(place, part.size()); };
  const auto found = std::ranges::lower_bound(order_, part, {}, startAt);
  return part.empty() || (found != order_.end() && startAt(*found) == part);
}

}  // namespace corvo::corvo_internal::base
