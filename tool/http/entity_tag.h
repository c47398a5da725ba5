// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string_view>

#include "tool/http/http_message.h"

namespace corvo::tool {

/// Whether the `If-None-Match` fields of a request name this strong entity tag, quotes included.
/// Compares as RFC 9110, section 13.1.2, demands: weak tags match, too, and "*" matches any tag.
/// What follows a syntax error in a field is ignored.
[[nodiscard]] bool isKnownTag(const HttpRequest& request, std::string_view tag);

}  // namespace corvo::tool
