#pragma once

#include <corvo/export.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace corvo {

/// Something in a configuration document that its author should look at.
struct Finding {
  /// An error: something is dropped or cannot work. A warning: legal, but surely not meant.
  enum class Severity : std::uint8_t { warning, error };

  std::string_view code;   ///< In kebab-case; docs/lint.md lists all. Static text.
  Severity severity{};     ///< Always the same for a code.
  std::string pointer;     ///< A JSON pointer (RFC 6901) to the value.
  std::size_t offset = 0;  ///< Where it begins (of a key: where the key does), in bytes from 0.
  std::size_t line = 1;    ///< From 1.
  std::size_t column = 1;  ///< From 1, in code points.
  std::string message;     ///< One line for people, in UTF-8. Its wording may change.

  bool operator==(const Finding&) const = default;
};

/// Checks a configuration document: what the tolerant reader drops, and what is legal but surely
/// not meant. Takes any text. Gives the findings in the document's order, those at one place by
/// code; none when all is well. A text that is not JSON, or not a configuration, is a finding
/// itself.
///
/// Flags and experiments of other platforms are checked by themselves. Whatever concerns several of
/// them (names, salts, layers, holdouts, carried flags) counts only those that a client keeps.
///
/// Pure: the same text gives the same findings, on any thread, without I/O. Takes time and memory
/// that grow with the size of the text, times its logarithm.
[[nodiscard]] CORVO_EXPORT std::vector<Finding> lint(std::string_view document);

}  // namespace corvo
