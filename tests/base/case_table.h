// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <array>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace corvo::tests {

inline void replaceAll(std::string& text, const std::string& what, const std::string& by) {
  for (auto at = text.find(what); at < text.size(); at = text.find(what, at + by.size())) {
    text.replace(at, what.size(), by);
  }
}

/// The content of a file; empty if it does not exist.
inline std::string contentsOf(const std::filesystem::path& file) {
  return (std::ostringstream() << std::ifstream(file, std::ios::binary).rdbuf()).str();
}

/// Replaces "{3*ab}" by "ababab".
inline std::string unfolded(std::string text) {
  for (auto at = text.find('{'); at < text.size(); at = text.find('{', at + 1)) {
    const std::size_t star = text.find_first_not_of("0123456789", at + 1);
    if (star == at + 1 || star >= text.size() || text[star] != '*') continue;
    const std::size_t end = text.find('}', star);
    const std::string part = text.substr(star + 1, end - star - 1);
    std::string all;
    for (int left = std::stoi(text.substr(at + 1)); left > 0; --left) all += part;
    text.replace(at, end + 1 - at, all);
  }
  return text;
}

/// A field of a table: without surrounding blanks, and with \xHH replaced by that byte.
inline std::string field(std::string text) {
  text.erase(0, text.find_first_not_of(' '));
  text.erase(text.find_last_not_of(' ') + 1);
  for (auto at = text.find("\\x"); at != std::string::npos; at = text.find("\\x", at + 1)) {
    text.replace(at, 4, 1, static_cast<char>(std::stoi(text.substr(at + 2, 2), nullptr, 16)));
  }
  return text;
}

/// The lines of a file with a table of cases, split into fields at bars. Missing fields are empty.
/// Blank lines and lines that begin with # are skipped. An empty table is an error.
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
