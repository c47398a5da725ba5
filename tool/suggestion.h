#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace corvo::tool {

/// The known word that somebody most likely meant who typed another one: the nearest by the number
/// of letters to insert, drop, replace or swap with their neighbour. Of several that are equally
/// near the first. None where more than a third of the letters would be others; hyphens in front do
/// not count as letters.
[[nodiscard]] std::optional<std::string> nearest(std::string_view typed,
                                                 std::span<const std::string> known);

}  // namespace corvo::tool
