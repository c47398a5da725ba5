// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace corvo::tool {

/// A command and its result.
struct Exchange {
  std::string command;
  std::string in;  ///< Its standard input, if any.
  std::string out, err;
  int status = 0;
};

/// Reads the commands of a text, "$ ...", each with the expected output after it. "< " precedes a
/// line of standard input, "! " one of standard error. "? " precedes the exit status, unless it is
/// 0 or, after a line on standard error that is not a warning, 1. Empty lines and lines that begin
/// with "#" are skipped.
std::vector<Exchange> readTranscript(const std::string& text);

/// Runs the commands of a transcript in a folder, and compares each output with the expected one.
/// Returns the number of commands.
std::size_t replay(const std::string& text, const std::string& folder);

}  // namespace corvo::tool
