#pragma once

#include <string>

namespace corvo::tool {

/// The name that stands for the standard input.
constexpr const char* kStandardInput = "-";

/// What an input is called where a place in it is named.
[[nodiscard]] std::string shownName(const std::string& name);

/// What is wrong with the name of a file on the command line; empty when nothing is.
[[nodiscard]] std::string complainAboutName(const std::string& name);

/// All that a file holds, or the standard input. Throws a `Failure`.
[[nodiscard]] std::string readInput(const std::string& name);

}  // namespace corvo::tool
