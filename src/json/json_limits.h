#pragma once

#include <cstddef>
#include <string_view>

namespace corvo::corvo_internal::json {

/// How deep arrays and objects may lie in one another.
inline constexpr std::size_t kMaxDepth = 512;

/// What may stand before a text (Unicode: U+FEFF in UTF-8). It is skipped.
inline constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

}  // namespace corvo::corvo_internal::json
