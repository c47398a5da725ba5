#pragma once

#include <cstddef>
#include <string_view>

namespace corvo::corvo_internal::base {

/// How many bytes must be inserted, removed, replaced or swapped with their neighbour to make one
/// text of the other, none of them twice (optimal string alignment). Takes the product of both
/// sizes.
[[nodiscard]] std::size_t editDistance(std::string_view from, std::string_view to);

}  // namespace corvo::corvo_internal::base
