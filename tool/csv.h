// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <span>
#include <string>

namespace corvo::tool {

/// At least one cell as a line of comma-separated values (RFC 4180) that ends with a newline alone.
/// Control characters are escaped as in JSON, so that a record is one line.
[[nodiscard]] std::string csvLine(std::span<const std::string> cells);

}  // namespace corvo::tool
