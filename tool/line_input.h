#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace corvo::tool {

/// The lines of the standard input, which end with a newline, or with a carriage return and a
/// newline; the last one may do without. Reads no more than it is asked for.
class LineInput {
 public:
  static constexpr std::size_t kLongest = std::size_t{16} << 20;  ///< In bytes.

  struct Line {
    std::string_view text;
    bool isTooLong = false;  ///< Longer than `kLongest`: it was skipped, and there is no text.
  };

  /// Whether `next` would answer at once. It may wait where that cannot be found out.
  [[nodiscard]] bool isReady();

  /// The next line, valid until the next call; none at the end. Waits for it.
  [[nodiscard]] std::optional<Line> next();

  /// Throws a `Failure` where the end was none, because the input could not be read.
  void check() const;

 private:
  bool findEnd();
  void readMore();
  Line takeLine(std::size_t end);

  std::vector<char> buffer_;  // what was read and not yet asked for is from first_ to last_
  std::size_t first_ = 0;
  std::size_t last_ = 0;
  std::size_t lineEnd_ = 0;  // no newline stands before it
  bool isTooLong_ = false;   // the beginning of this line was dropped
  bool isAtEnd_ = false;
  int error_ = 0;
};

}  // namespace corvo::tool
