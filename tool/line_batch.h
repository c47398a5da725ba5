#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace corvo::tool {

/// Lines that follow one another, and then their answers.
struct LineBatch {
  struct Line {
    std::size_t size = 0;  ///< In bytes.
    bool isTooLong = false;
  };

  std::size_t firstNumber = 0;  ///< That of the first line, from 1.
  std::string text;             ///< That of all lines, one after the other.
  std::vector<Line> lines;
  std::string answers;       ///< A line each.
  std::size_t badCount = 0;  ///< How many of the answers are errors.

  void clear() {
    text.clear();
    lines.clear();
    answers.clear();
    badCount = 0;
  }
};

}  // namespace corvo::tool
