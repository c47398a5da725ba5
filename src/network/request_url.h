// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "network/network_route.h"

namespace corvo::corvo_internal::network {

/// The base address, a slash and the path, with every "//" replaced by "/". The replacement is one
/// pass from left to right, so "///" becomes "//". It includes the scheme's double slash:
/// "https://host" and "geo" become "https:/host/geo".
[[nodiscard]] std::string joinAddress(std::string_view baseAddress, std::string_view path);

/// The address with its query replaced by the items, or without a query if there are none. A
/// fragment is kept. Empty if the address is not a valid URI reference (see `parseUriReference`).
[[nodiscard]] std::optional<std::string> requestUrl(std::string_view address,
                                                    const std::vector<QueryItem>& queryItems);

}  // namespace corvo::corvo_internal::network
