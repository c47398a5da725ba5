// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "tool/http/http_message.h"

namespace corvo::tool {

/// The text with its escapes, such as "%20", replaced by the bytes they stand for. Nothing if one
/// is incomplete or has other characters than hexadecimal digits.
[[nodiscard]] std::optional<std::string> percentDecoded(std::string_view text);

/// Sets the paths and the query of a request from the target in its first line: "/path?query", "*",
/// or an address that begins with "http://", whose host then replaces that of the header. False if
/// it is none of these, or an escape is invalid.
[[nodiscard]] bool readTarget(std::string_view target, HttpRequest& request);

}  // namespace corvo::tool
