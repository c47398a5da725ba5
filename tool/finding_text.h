// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvo/lint.h>

#include <string>
#include <string_view>

#include "tool/style.h"

namespace corvo::tool {

/// "error" or "warning".
[[nodiscard]] std::string_view wordOf(Finding::Severity severity);

/// A finding in the format of compilers: "file:line:column: severity: message [code]".
[[nodiscard]] std::string lineOf(const std::string& file, const Finding& finding,
                                 const Style& style);

}  // namespace corvo::tool
