// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <string_view>

namespace corvo::corvo_internal::json {

/// The maximum nesting depth of arrays and objects.
inline constexpr std::size_t kMaxDepth = 512;

/// The byte order mark that may precede a text (Unicode: U+FEFF in UTF-8). It is skipped.
inline constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

}  // namespace corvo::corvo_internal::json
