// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdio>
#include <string>

namespace corvo::tool {

[[nodiscard]] bool isTerminal(std::FILE* stream);

/// Shows a line on standard error, which must be a terminal, replacing the line shown before. An
/// empty line only removes that one.
void showInPlace(const std::string& line);

}  // namespace corvo::tool
