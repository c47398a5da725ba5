#pragma once

#include <cstddef>
#include <string>

namespace corvo::tool {

/// The text between the lines "```console" and "```" of a document.
std::string consolesOf(const std::string& document);

/// Runs the commands of a text, "$ ...", in a folder, and compares each with what follows it, which
/// it should print: "< " stands before a line that it is given on standard input, "! " before one
/// on standard error, "? " before the exit status where that is neither 0 nor, after a line that is
/// no warning, 1. Empty lines and lines that begin with "#" are passed over. Answers how many there
/// are.
std::size_t replay(const std::string& text, const std::string& folder);

}  // namespace corvo::tool
