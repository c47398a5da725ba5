// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvo/json_value.h>
#include <corvo/property.h>

#include <cstdint>
#include <map>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

#include "tool/style.h"

namespace corvo::tool {

/// An answer ready for display: a sentence and a table for people, JSON for programs.
struct Report {
  std::string sentence;                        ///< May be empty.
  std::vector<std::string> columns;            ///< Empty if there is no table.
  std::vector<std::vector<std::string>> rows;  ///< Each has one cell per column.
  JsonValue json;
};

/// A report of values by name; the JSON is an object of the values. `kind` is the heading of the
/// name column.
[[nodiscard]] Report valueReport(const std::string& kind,
                                 const std::map<std::string, CorvoProperty>& values);

/// "object", "boolean", "integer", "double" or "string".
[[nodiscard]] std::string_view typeOf(const CorvoProperty& value);

/// A value as JSON text, so that texts are delimited and control characters are visible.
[[nodiscard]] std::string shown(const CorvoProperty& value);

/// A count or a position in JSON.
[[nodiscard]] inline JsonValue numberOf(std::uint64_t number) {
  return static_cast<std::int64_t>(number);
}

/// Writes the sentence, then the rows under the column headings, aligned. Assumes one terminal cell
/// per character.
void printReport(const Report& report, const Style& style, std::ostream& out);

}  // namespace corvo::tool
