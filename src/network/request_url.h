#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "network/network_route.h"

namespace corvo::corvo_internal::network {

/// The base address, a slash and the path, with every "//" made "/": one pass from left to right,
/// so "///" becomes "//". The scheme's double slash is not spared: "https://host" and "geo" make
/// "https:/host/geo".
[[nodiscard]] std::string joinAddress(std::string_view baseAddress, std::string_view path);

/// The address with the items for its query, in place of any that it has; without items it has
/// none. A fragment stays. None when the address is no URI reference (see `parseUriReference`).
[[nodiscard]] std::optional<std::string> requestUrl(std::string_view address,
                                                    const std::vector<QueryItem>& queryItems);

}  // namespace corvo::corvo_internal::network
