// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <cstddef>
#include <span>

namespace corvo::tool {

/// The elements of a list that are shown: at most so many, from the first.
template <class List>
[[nodiscard]] auto firstFew(const List& list, std::size_t most) {
  return std::span(list).first(std::min(list.size(), most));
}

}  // namespace corvo::tool
