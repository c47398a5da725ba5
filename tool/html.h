// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>

namespace corvo::tool {

/// A text as the content of an element or the value of a quoted attribute. Control characters
/// become visible as escapes.
[[nodiscard]] std::string escaped(std::string_view text);

}  // namespace corvo::tool
