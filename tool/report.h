#pragma once

#include <corvo/json_value.h>
#include <corvo/property.h>

#include <map>
#include <ostream>
#include <string>
#include <vector>

namespace corvo::tool {

/// An answer made ready to be shown: as a table to people, as JSON to programs.
struct Report {
  std::vector<std::string> columns;
  std::vector<std::vector<std::string>> rows;  ///< As many cells each as there are columns.
  JsonValue json;
};

/// The report of some flags' values by the flags' names; the JSON is an object of the values.
[[nodiscard]] Report flagReport(const std::map<std::string, CorvoProperty>& values);

/// Writes the rows under the columns' heads, aligned. For terminals with one cell per character.
void printTable(const Report& report, std::ostream& out);

}  // namespace corvo::tool
