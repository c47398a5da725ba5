// SPDX-License-Identifier: Apache-2.0

#include "tests/docs/blocks.h"

#include <algorithm>
#include <sstream>

namespace corvo::tests {
namespace {

constexpr const char* kTriedBy = "tried by";

/// The text without surrounding blanks.
std::string trimmed(const std::string& text) {
  const std::size_t first = text.find_first_not_of(" \n");
  if (first == std::string::npos) return "";
  return text.substr(first, text.find_last_not_of(" \n") - first + 1);
}

}  // namespace

std::string Block::mark(const std::string& key) const {
  const auto found = marks.find(key);
  return found == marks.end() ? "" : found->second;
}

std::vector<Block> blocksOf(const std::string& document) {
  const std::string fence = "```";
  const std::string commentBegins = "<!-- ";
  const std::string commentEnds = "-->";
  const std::string forLanguage = std::string(" ") + kTriedBy;
  std::vector<Block> blocks;
  std::map<std::string, std::string> marks;
  std::map<std::string, std::string> triedBy;  // by language
  std::istringstream in(document);
  int number = 0;
  std::string line;
  const auto next = [&] { return ++number, static_cast<bool>(std::getline(in, line)); };
  while (next()) {
    const std::size_t indentation = std::min(line.find_first_not_of(' '), line.size());
    const std::string begins = line.substr(indentation);
    if (begins.starts_with(fence)) {
      Block block{number, begins.substr(fence.size()), "", std::move(marks)};
      marks.clear();
      while (next() && !trimmed(line).starts_with(fence)) {
        block.text += line.substr(std::min(indentation, line.size())) + '\n';
      }
      blocks.push_back(std::move(block));
    } else if (begins.starts_with(commentBegins)) {
      std::string comment = begins.substr(commentBegins.size());
      while (comment.find(commentEnds) == std::string::npos && next()) comment += '\n' + line;
      comment.erase(std::min(comment.find(commentEnds), comment.size()));
      const std::size_t colon = std::min(comment.find(':'), comment.size());
      const std::string key = trimmed(comment.substr(0, colon));
      const std::string value = trimmed(comment.substr(std::min(colon + 1, comment.size())));
      if (key.ends_with(forLanguage)) {
        triedBy[key.substr(0, key.size() - forLanguage.size())] = value;
      } else {
        marks[key] = value;
      }
    } else if (!trimmed(line).empty()) {
      marks.clear();
    }
  }
  for (Block& block : blocks) {
    if (triedBy.contains(block.language)) block.marks.emplace(kTriedBy, triedBy[block.language]);
  }
  return blocks;
}

bool isCompiled(const Block& block) {
  return block.language == "cpp" && !block.has("not tried") && !block.has(kTriedBy) &&
         !block.has("shows");
}

}  // namespace corvo::tests
