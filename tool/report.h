#pragma once

#include <corvo/json_value.h>
#include <corvo/property.h>

#include <map>
#include <ostream>
#include <string>
#include <vector>

#include "tool/style.h"

namespace corvo::tool {

/// An answer made ready to be shown: as a sentence and a table to people, as JSON to programs.
struct Report {
  std::string sentence;                        ///< May be empty.
  std::vector<std::string> columns;            ///< None when there is no table.
  std::vector<std::vector<std::string>> rows;  ///< As many cells each as there are columns.
  JsonValue json;
};

/// A value as JSON, which has no infinite numbers: these are written as texts.
[[nodiscard]] JsonValue toJson(const CorvoProperty& value);

/// The report of some values by the names of what has them; the JSON is an object of the values.
/// `kind` heads the column of the names.
[[nodiscard]] Report valueReport(const std::string& kind,
                                 const std::map<std::string, CorvoProperty>& values);

/// A value as JSON text, which shows where a text ends and hides no control character.
[[nodiscard]] std::string shown(const CorvoProperty& value);

/// Writes the sentence, then the rows under the columns' heads, aligned. For terminals with one
/// cell per character.
void printReport(const Report& report, const Style& style, std::ostream& out);

}  // namespace corvo::tool
