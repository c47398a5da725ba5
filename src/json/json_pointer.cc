// SPDX-License-Identifier: Apache-2.0

#include "json/json_pointer.h"

namespace corvo::corvo_internal::json {
namespace {

class Search {
 public:
  explicit Search(const std::vector<const JsonNode*>& wanted) : wanted_(wanted) {}

  // Descends only into nodes that contain a wanted one.
  void visit(const JsonNode& node) {
    while (isWanted(node.first()) && wanted_[found_.size()] == &node) found_.push_back(path_);
    if (!isWanted(node.next())) return;
    if (node.kind == JsonKind::array) {
      std::size_t index = 0;
      for (const JsonNode& element : JsonElements(node)) step(std::to_string(index++), element);
    } else {
      for (const auto [key, value] : JsonMembers(node)) step(key, value);
    }
  }

  std::vector<std::string> found_;

 private:
  [[nodiscard]] bool isWanted(const JsonNode* before) const {
    return found_.size() < wanted_.size() && wanted_[found_.size()] < before;
  }

  void step(std::string_view token, const JsonNode& node) {
    if (!isWanted(node.next())) return;
    const auto length = path_.size();
    appendToken(path_, token);
    visit(node);
    path_.resize(length);
  }

  const std::vector<const JsonNode*>& wanted_;
  std::string path_;
};

}  // namespace

void appendToken(std::string& pointer, std::string_view token) {
  pointer += '/';
  for (const char c : token) {
    if (c == '~' || c == '/') {
      pointer += c == '~' ? "~0" : "~1";
    } else {
      pointer += c;
    }
  }
}

std::vector<std::string> pointersTo(const std::vector<const JsonNode*>& nodes,
                                    const JsonNode& root) {
  Search search(nodes);
  search.visit(root);
  return std::move(search.found_);
}

}  // namespace corvo::corvo_internal::json
