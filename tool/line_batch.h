// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace corvo::tool {

/// Consecutive lines, and later their answers.
struct LineBatch {
  struct Line {
    std::size_t size = 0;  ///< In bytes.
    bool isTooLong = false;
  };

  std::size_t firstNumber = 0;  ///< The number of the first line, from 1.
  std::string text;             ///< All lines, concatenated.
  std::vector<Line> lines;
  std::string answers;       ///< One line each.
  std::size_t badCount = 0;  ///< The number of answers that are errors.

  void clear() {
    text.clear();
    lines.clear();
    answers.clear();
    badCount = 0;
  }
};

}  // namespace corvo::tool
