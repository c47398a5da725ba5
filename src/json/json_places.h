#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace corvo::corvo_internal::json {

/// What of a JSON text a person must find again, by the byte at which it begins.
struct JsonPlaces {
  struct Fault {
    std::size_t place;
    const char* reason;
  };
  struct Member {
    std::string_view key;  ///< As it stands in the text, quotes included.
    std::size_t value;
  };

  /// The first thing that is not as the library reads JSON; none when all is.
  std::optional<Fault> fault;
  /// The values and keys, as far as there is no fault, in the order of a `JsonTree`'s nodes.
  std::vector<std::size_t> nodes;
  std::vector<Member> members;  ///< Those of the text's value.
};

/// Reads a text by RFC 8259, to be precise about places where the library only says yes or no: it
/// refuses the same texts. UTF-8, a leading byte order mark skipped, at most 512 levels.
[[nodiscard]] JsonPlaces jsonPlaces(std::string_view text);

/// Where bytes of a text are, as editors count. In one pass over the text, as long as the places
/// that are asked for go on towards its end.
class LineCounter {
 public:
  explicit LineCounter(std::string_view text) : text_(text) {}

  /// Line and column, from 1, columns in characters.
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
