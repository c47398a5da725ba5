#pragma once

#include <cstddef>
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

/// The commands of a text, "$ ...", each with what follows it, which it should print: "< " stands
/// before a line that it is given on standard input, "! " before one on standard error, "? " before
/// the exit status where that is neither 0 nor, after a line that is not a warning, 1. Empty lines
/// and lines that begin with "#" are skipped.
std::vector<Exchange> readTranscript(const std::string& text);

/// Runs the commands of a transcript in a folder and compares what they print. Answers how many
/// there are.
std::size_t replay(const std::string& text, const std::string& folder);

}  // namespace corvo::tool
