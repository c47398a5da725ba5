// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "tool/http/http_message.h"

namespace corvo::tool {

/// Why a text is not an origin, such as "https://shop.example" or "http://localhost:3000", or "*"
/// for all; empty if it is one.
[[nodiscard]] std::string complainAboutOrigin(const std::string& text);

/// Whether an origin is one of these, or they have "*".
[[nodiscard]] bool isAllowedOrigin(const std::vector<std::string>& origins,
                                   std::string_view origin);

/// Lets pages of these origins ask the route (CORS), and answers their preflight requests. Without
/// origins it is the route itself.
[[nodiscard]] HttpRoute withOrigins(std::vector<std::string> origins, HttpRoute route);

}  // namespace corvo::tool
