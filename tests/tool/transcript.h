#pragma once

#include <cstddef>
#include <string>

namespace corvo::tool {

/// The text between the lines "```console" and "```" of a document.
std::string consolesOf(const std::string& document);

/// Runs the commands of a text, "$ ...", in a folder, and compares each with the expected output
/// after it. "< " precedes a line of standard input, "! " one of standard error. "? " precedes the
/// exit status, unless it is 0 or, after a line on standard error that is not a warning, 1. Empty
/// lines and lines that begin with "#" are skipped. Returns the number of commands.
std::size_t replay(const std::string& text, const std::string& folder);

}  // namespace corvo::tool
