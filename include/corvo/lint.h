// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvo/export.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace corvo {

/// A problem in a configuration document.
struct Finding {
  /// An error: something is dropped or cannot work. A warning: valid, but probably not intended.
  enum class Severity : std::uint8_t { warning, error };

  std::string_view code;   ///< In kebab-case; docs/lint.md lists all. Static text.
  Severity severity{};     ///< Always the same for a code.
  std::string pointer;     ///< A JSON pointer (RFC 6901) to the value.
  std::size_t offset = 0;  ///< Where the value (or the offending key) begins, in bytes from 0.
  std::size_t line = 1;    ///< From 1.
  std::size_t column = 1;  ///< From 1, in code points.
  std::string message;     ///< One human-readable line, in UTF-8. Its wording may change.

  bool operator==(const Finding&) const = default;
};

/// Checks a configuration document: finds parts that the tolerant reader drops, and parts
/// that are valid but probably not intended. Accepts any text. Returns the findings in the
/// document's order; findings at the same place are sorted by code. No finding means that all is
/// well. A text that is not JSON, or not a configuration, is itself a finding.
///
/// Flags and experiments for other platforms are checked one by one. Checks that compare several
/// (names, salts, layers, holdouts, carried flags) only include those that a client keeps.
///
/// Pure: the same text gives the same findings, on any thread, without I/O. Time and memory grow as
/// n log n with the size of the text.
[[nodiscard]] CORVO_EXPORT std::vector<Finding> lint(std::string_view document);

}  // namespace corvo
