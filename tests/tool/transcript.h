#pragma once

#include <string>
#include <vector>

namespace corvo::tool {

/// A command, and what becomes of it.
struct Exchange {
  std::string command;
  std::string in;  ///< What it is given, if anything.
  std::string out, err;
  int status = 0;
};

/// Reads commands, "$ ...", each followed by what it prints: "< " stands before a line that it is
/// given on standard input, "! " before one on standard error, "? " before the exit status where
/// that is neither 0 nor, after a line that is no warning, 1. Empty lines and lines that begin with
/// "#" are passed over.
std::vector<Exchange> readTranscript(const std::string& text);

/// The text between the lines "```console" and "```" of a document.
std::string consolesOf(const std::string& document);

/// Runs the commands in a folder, and compares.
void replay(const std::vector<Exchange>& transcript, const std::string& folder);

}  // namespace corvo::tool
