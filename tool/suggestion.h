#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace corvo::tool {

/// The known word that was most likely meant by the typed one: the nearest by letters to insert,
/// drop, replace or swap with their neighbour. If several are equally near, the first. Empty if
/// more than a third of the letters would change. Leading hyphens do not count as letters.
[[nodiscard]] std::optional<std::string> nearest(std::string_view typed,
                                                 std::span<const std::string> known);

}  // namespace corvo::tool
