// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvo/lint.h>

#include <string>
#include <string_view>
#include <vector>

#include "json/json_tree.h"
#include "lint/codes.h"
#include "project/document.h"

namespace corvo::corvo_internal::lint {

using json::JsonElements;
using json::JsonKind;
using json::JsonMembers;
using json::JsonNode;
using json::lastMember;
using project::Document;
using project::Placed;

/// Collects findings by the nodes of one document's tree.
class Report {
 public:
  void add(Code code, const json::JsonNode& value, std::string message) {
    notes_.push_back({code, &value, &value, std::move(message)});
  }
  /// Adds a finding about a key itself; the key's value follows it in the tree.
  void addAtKey(Code code, const json::JsonNode& key, std::string message) {
    notes_.push_back({code, &key, &key + 1, std::move(message)});
  }

  /// All findings in document order, with their places in the tree's text.
  [[nodiscard]] std::vector<Finding> findings(std::string_view text, const json::JsonNode& root) &&;

 private:
  struct Note {
    Code code;
    const json::JsonNode* place;
    const json::JsonNode* value;
    std::string message;
  };

  std::vector<Note> notes_;
};

/// A finding about the text as a whole, at one of its bytes.
[[nodiscard]] Finding findingAt(Code code, std::string_view text, std::size_t place,
                                std::string message);

/// A text of the document as messages show it: quoted, on one line, truncated if it is long.
[[nodiscard]] std::string quoted(std::string_view text);
/// The same without quotes, for a text that is itself a message.
[[nodiscard]] std::string withinLine(std::string_view text);
/// `; did you mean "word"?`, or an empty text if there is no word.
[[nodiscard]] std::string didYouMean(std::string_view word);
/// "a", "b" and "c"; of more than three names, the first three and the number of the others.
[[nodiscard]] std::string listed(const std::vector<std::string_view>& first, std::size_t count);
/// A number with the shortest digits, without a fraction if it is whole.
[[nodiscard]] std::string shown(double number);
/// A fraction as "12.34 %".
[[nodiscard]] std::string percent(double fraction);

}  // namespace corvo::corvo_internal::lint
