#include "tool/report.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <utility>
#include <variant>

namespace corvo::tool {
namespace {

/// The names of the types that a property may have, in their order.
constexpr std::array kTypeNames{"dictionary", "boolean", "integer", "double", "string"};
static_assert(kTypeNames.size() == std::variant_size_v<CorvoProperty>);

std::size_t characterCount(const std::string& text) {
  return static_cast<std::size_t>(
      std::count_if(text.begin(), text.end(), [](char c) { return (c & 0xC0) != 0x80; }));
}

std::vector<std::size_t> columnWidths(const Report& report) {
  std::vector<std::size_t> widths;
  for (std::size_t column = 0; column < report.columns.size(); ++column) {
    std::size_t width = characterCount(report.columns[column]);
    for (const auto& row : report.rows) width = std::max(width, characterCount(row[column]));
    widths.push_back(width);
  }
  return widths;
}

void printRow(const std::vector<std::string>& cells, const std::vector<std::size_t>& widths,
              std::ostream& out) {
  for (std::size_t column = 0; column + 1 < cells.size(); ++column) {
    out << cells[column] << std::string(widths[column] + 2 - characterCount(cells[column]), ' ');
  }
  out << cells.back() << '\n';
}

}  // namespace

JsonValue toJson(const CorvoProperty& value) {
  const double* number = std::get_if<double>(&value);
  if (number && !std::isfinite(*number)) return std::to_string(*number);
  return std::visit([](const auto& each) { return JsonValue(each); }, value);
}

std::string shown(const CorvoProperty& value) {
  const double* number = std::get_if<double>(&value);
  return number && !std::isfinite(*number) ? std::to_string(*number) : toJson(value).toJson();
}

Report valueReport(const std::string& kind, const std::map<std::string, CorvoProperty>& values) {
  Report report{{}, {kind, "TYPE", "VALUE"}, {}, {}};
  JsonObject json;
  for (const auto& [name, value] : values) {
    report.rows.push_back({name, kTypeNames[value.index()], shown(value)});
    json.emplace(name, toJson(value));
  }
  report.json = JsonValue(std::move(json));
  return report;
}

void printReport(const Report& report, std::ostream& out) {
  if (!report.sentence.empty()) out << report.sentence << '\n';
  if (report.columns.empty()) return;
  const std::vector<std::size_t> widths = columnWidths(report);
  printRow(report.columns, widths, out);
  for (const auto& row : report.rows) printRow(row, widths, out);
  if (report.rows.empty()) out << "(none)\n";
}

}  // namespace corvo::tool
