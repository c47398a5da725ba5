#pragma once

#include <algorithm>
#include <array>
#include <fstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace corvo::tests {

/// A field of a table: without the blanks around it, and with the byte that each \xHH stands for.
inline std::string field(std::string text) {
  text.erase(0, text.find_first_not_of(' '));
  text.erase(text.find_last_not_of(' ') + 1);
  for (auto at = text.find("\\x"); at != std::string::npos; at = text.find("\\x", at + 1)) {
    text.replace(at, 4, 1, static_cast<char>(std::stoi(text.substr(at + 2, 2), nullptr, 16)));
  }
  return text;
}

/// The lines of a table of cases in a file, their fields divided by bars. Fields that a line lacks
/// are empty. Lines that are blank or begin with # do not count; no line at all is an error.
template <std::size_t columns>
std::vector<std::array<std::string, columns>> caseTable(const std::string& file) {
  std::vector<std::array<std::string, columns>> rows;
  std::ifstream in(file);
  for (std::string line; std::getline(in, line);) {
    if (line.empty() || line.front() == '#') continue;
    auto& row = rows.emplace_back();
    for (std::size_t from = 0, column = 0; from <= line.size(); ++column) {
      const std::size_t bar = std::min(line.find('|', from), line.size());
      row.at(column) = field(line.substr(from, bar - from));
      from = bar + 1;
    }
  }
  if (rows.empty()) throw std::runtime_error("no cases in " + file);
  return rows;
}

}  // namespace corvo::tests
