// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace corvo::tool {

/// A number of things in words: "1 user", "2 users".
[[nodiscard]] std::string counted(std::size_t count, const std::string& thing);

/// The text with its control characters escaped as in JSON, so that none reaches a terminal; and
/// with those that end a line or reorder the text around them: U+2028, U+202E and the like.
[[nodiscard]] std::string visible(std::string_view text);

}  // namespace corvo::tool
