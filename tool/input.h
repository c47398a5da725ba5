#pragma once

#include <string>

namespace corvo::tool {

/// The name that stands for the standard input.
constexpr const char* kStandardInput = "-";

/// What an input is called where a place in it is named.
[[nodiscard]] std::string shownName(const std::string& name);

/// All that a file holds, or the standard input. Throws a `Failure`.
[[nodiscard]] std::string readInput(const std::string& name);

}  // namespace corvo::tool
