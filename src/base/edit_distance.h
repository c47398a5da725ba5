#pragma once

#include <cstddef>
#include <string_view>

namespace corvo::corvo_internal::base {

/// The number of bytes to insert, delete, replace or swap with their neighbour to turn one text
/// into the other, where no byte is edited twice (optimal string alignment distance). Takes time
/// proportional to the product of the sizes.
[[nodiscard]] std::size_t editDistance(std::string_view from, std::string_view to);

}  // namespace corvo::corvo_internal::base
