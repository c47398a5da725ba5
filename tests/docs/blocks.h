// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <map>
#include <string>
#include <vector>

namespace corvo::tests {

/// A fenced code block of a document in Markdown.
struct Block {
  int line = 0;  ///< That of the opening fence, from 1.
  std::string language;
  std::string text;
  /// The comments directly before the fence, `<!-- key: value -->`. A comment may have several
  /// lines: the first is `<!-- key:`, the last `-->`.
  std::map<std::string, std::string> marks;

  [[nodiscard]] bool has(const std::string& mark) const { return marks.contains(mark); }
  [[nodiscard]] std::string mark(const std::string& key) const;
};

/// A document's blocks, in order. A mark "LANGUAGE tried by" anywhere in the document counts as the
/// mark "tried by" for each block in that language.
std::vector<Block> blocksOf(const std::string& document);

/// Whether a block must be compiled: it is in C++, and not marked as tried elsewhere or not tried.
bool isCompiled(const Block& block);

}  // namespace corvo::tests
