// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace corvo::corvo_internal::json {

/// The positions in a JSON text that a message to its author needs, as byte offsets.
struct JsonPlaces {
  struct Fault {
    std::size_t place;
    const char* reason;
  };
  struct Member {
    std::string_view key;  ///< As written in the text, with its quotes.
    std::size_t value;
  };

  /// The first fault, if any.
  std::optional<Fault> fault;
  /// The values and keys up to the first fault, in the order of a `JsonTree`'s nodes.
  std::vector<std::size_t> nodes;
  std::vector<Member> members;  ///< The members of the outermost value.
};

/// Parses a text by RFC 8259 and records positions, where the library's own reader only accepts or
/// rejects. Rejects the same texts. UTF-8, a leading byte order mark skipped, at most 512 levels.
[[nodiscard]] JsonPlaces jsonPlaces(std::string_view text);

/// Converts byte offsets to lines and columns as editors count them. Takes one pass over the text
/// if the offsets ascend.
class LineCounter {
 public:
  explicit LineCounter(std::string_view text) : text_(text) {}

  /// Line and column, both from 1. Columns count characters.
  [[nodiscard]] std::pair<std::size_t, std::size_t> at(std::size_t place);

 private:
  std::string_view text_;
  std::size_t counted_ = 0;
  std::size_t line_ = 1;
  std::size_t column_ = 1;
};

/// "line:column" of one byte of a text.
[[nodiscard]] std::string lineAndColumn(std::string_view text, std::size_t place);

}  // namespace corvo::corvo_internal::json
