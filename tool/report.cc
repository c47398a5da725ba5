// SPDX-License-Identifier: Apache-2.0

#include "tool/report.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <utility>
#include <variant>

#include "model/property_json.h"
#include "tool/text.h"

namespace corvo::tool {

using corvo_internal::model::jsonOf;

namespace {

/// The names of the property types, by index.
constexpr std::array kTypeNames{"object", "boolean", "integer", "double", "string"};
static_assert(kTypeNames.size() == std::variant_size_v<CorvoProperty>);

std::size_t characterCount(const std::string& text) {
  return static_cast<std::size_t>(
      std::count_if(text.begin(), text.end(), [](char c) { return (c & 0xC0) != 0x80; }));
}

using Row = std::vector<std::string>;

std::vector<std::size_t> columnWidths(const Row& heads, const std::vector<Row>& rows) {
  std::vector<std::size_t> widths;
  for (std::size_t column = 0; column < heads.size(); ++column) {
    std::size_t width = characterCount(heads[column]);
    for (const Row& row : rows) width = std::max(width, characterCount(row[column]));
    widths.push_back(width);
  }
  return widths;
}

std::string alignedLine(const Row& cells, const std::vector<std::size_t>& widths) {
  std::string line;
  for (std::size_t column = 0; column + 1 < cells.size(); ++column) {
    line += cells[column] + std::string(widths[column] + 2 - characterCount(cells[column]), ' ');
  }
  return line + cells.back();
}

}  // namespace

std::string shown(const CorvoProperty& value) {
  const double* const number = std::get_if<double>(&value);
  const JsonValue json = jsonOf(value);
  return number && !std::isfinite(*number) ? *json.as<std::string>() : json.toJson();
}

std::string_view typeOf(const CorvoProperty& value) { return kTypeNames[value.index()]; }

Report valueReport(const std::string& kind, const std::map<std::string, CorvoProperty>& values) {
  Report report{{}, {kind, "TYPE", "VALUE"}, {}, {}};
  JsonObject json;
  for (const auto& [name, value] : values) {
    report.rows.push_back({name, std::string(typeOf(value)), shown(value)});
    json.emplace(name, jsonOf(value));
  }
  report.json = JsonValue(std::move(json));
  return report;
}

void printReport(const Report& report, const Style& style, std::ostream& out) {
  if (!report.sentence.empty()) out << visible(report.sentence) << '\n';
  if (report.columns.empty()) return;
  auto rows = report.rows;
  for (auto& row : rows) {
    for (std::string& cell : row) cell = visible(cell);
  }
  const std::vector<std::size_t> widths = columnWidths(report.columns, rows);
  out << style.bold(alignedLine(report.columns, widths)) << '\n';
  for (const auto& row : rows) out << alignedLine(row, widths) << '\n';
  if (rows.empty()) out << "(none)\n";
}

}  // namespace corvo::tool
