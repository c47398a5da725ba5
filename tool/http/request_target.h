// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>

#include "tool/http/http_message.h"

namespace corvo::tool {

/// The text with its escapes, such as "%20", replaced by the bytes they stand for. A "%" without
/// two hexadecimal digits stands for itself, as for browsers.
[[nodiscard]] std::string percentDecoded(std::string_view text);

/// Sets the paths and the query of a request from the target in its first line: "/path?query", "*",
/// or an address that begins with "http://", whose host then replaces that of the header. False if
/// it is none of these.
[[nodiscard]] bool readTarget(std::string_view target, HttpRequest& request);

}  // namespace corvo::tool
