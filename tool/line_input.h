// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "tool/input.h"

namespace corvo::tool {

/// The lines of standard input or of a file. They end with a newline, or with a carriage return and
/// a newline; the last one may end with neither. Reads no more than requested.
class LineInput {
 public:
  static constexpr std::size_t kLongest = std::size_t{16} << 20;  ///< In bytes.

  /// Throws a `Failure` if a file cannot be opened.
  explicit LineInput(const std::string& name = kStandardInput);

  struct Line {
    std::string_view text;
    bool isTooLong = false;  ///< Longer than `kLongest`: the line was skipped, and `text` is empty.
  };

  /// Whether `next` would return immediately. If that is unknown, it may wait.
  [[nodiscard]] bool isReady();

  /// Waits for the next line, which is valid until the next call. Empty at the end.
  [[nodiscard]] std::optional<Line> next();

  /// Throws a `Failure` if the input ended because it could not be read.
  void check() const;

 private:
  bool findEnd();
  void readMore();
  Line takeLine(std::size_t end);

  std::string name_;
  File file_;  // null for standard input
  int descriptor_ = 0;
  std::vector<char> buffer_;  // first_ to last_ is read, but not yet returned
  std::size_t first_ = 0;
  std::size_t last_ = 0;
  std::size_t lineEnd_ = 0;  // there is no newline before it
  bool isTooLong_ = false;   // the beginning of this line was dropped
  bool isAtEnd_ = false;
  int error_ = 0;
};

}  // namespace corvo::tool
