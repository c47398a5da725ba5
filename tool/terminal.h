#pragma once

#include <cstdio>
#include <string>

namespace corvo::tool {

[[nodiscard]] bool isTerminal(std::FILE* stream);

/// Puts a line on the standard error, which is a terminal, in the place of the one that was put
/// there before; an empty one removes that.
void showInPlace(const std::string& line);

}  // namespace corvo::tool
