// SPDX-License-Identifier: Apache-2.0

#include "tool/csv.h"

#include "tool/text.h"

namespace corvo::tool {
namespace {

std::string csvCell(const std::string& given) {
  std::string text = visible(given);
  if (text.find_first_of(",\"") == std::string::npos) return text;
  std::string cell = "\"";
  for (const char c : text) cell.append(c == '"' ? 2 : 1, c);
  return cell + "\"";
}

}  // namespace

std::string csvLine(std::span<const std::string> cells) {
  std::string line;
  for (const std::string& each : cells) line += csvCell(each) + ",";
  line.back() = '\n';
  return line;
}

}  // namespace corvo::tool
