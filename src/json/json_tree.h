// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>
#include <vector>

namespace corvo::corvo_internal::json {

enum class JsonKind : std::uint8_t { null, boolean, number, string, array, object };

/// One value of a document. Nodes are stored in document order: the values of an array or object
/// follow it directly, and each member of an object is its key followed by its value.
struct JsonNode {
  static constexpr int kSpanBits = 29;

  const char* data = nullptr;  ///< The unescaped text of a key or string; the literal of a scalar.
  std::uint32_t size = 0;      ///< The bytes of that text, or the number of elements or members.
  std::uint32_t span : kSpanBits = 1;  ///< The number of nodes of this value, including itself.
  JsonKind kind : 3 = JsonKind::null;

  [[nodiscard]] std::string_view text() const noexcept { return {data, size}; }
  [[nodiscard]] bool isTrue() const noexcept { return text() == "true"; }

  /// The first child, and the end of all descendants.
  [[nodiscard]] const JsonNode* first() const noexcept { return this + 1; }
  [[nodiscard]] const JsonNode* next() const noexcept { return this + span; }
};

/// The elements of an array, for a range-based loop.
class JsonElements {
 public:
  explicit JsonElements(const JsonNode& array) noexcept : array_(array) {}

  struct Iterator {
    const JsonNode* at;
    const JsonNode& operator*() const noexcept { return *at; }
    void operator++() noexcept { at = at->next(); }
    bool operator==(const Iterator&) const = default;
  };
  [[nodiscard]] Iterator begin() const noexcept { return {array_.first()}; }
  [[nodiscard]] Iterator end() const noexcept { return {array_.next()}; }

 private:
  const JsonNode& array_;
};

/// The members of an object in document order, including those that a later duplicate overrides.
class JsonMembers {
 public:
  explicit JsonMembers(const JsonNode& object) noexcept : object_(object) {}

  struct Member {
    std::string_view key;
    const JsonNode& value;
  };
  struct Iterator {
    const JsonNode* key;
    Member operator*() const noexcept { return {key->text(), *(key + 1)}; }
    void operator++() noexcept { key = (key + 1)->next(); }
    bool operator==(const Iterator&) const = default;
  };
  [[nodiscard]] Iterator begin() const noexcept { return {object_.first()}; }
  [[nodiscard]] Iterator end() const noexcept { return {object_.next()}; }

 private:
  const JsonNode& object_;
};

/// The member of an object that counts: the last one with that key; null if there is none.
[[nodiscard]] const JsonNode* lastMember(const JsonNode& object, std::string_view key) noexcept;

/// A JSON text in which every value is parsed and checked: strict RFC 8259 in UTF-8, a leading byte
/// order mark skipped, at most 512 levels of arrays and objects and 512 MiB. Numbers are checked
/// against the grammar only; the reader of a number checks whether it fits its type. Owns
/// everything that its nodes view.
class JsonTree {
 public:
  explicit JsonTree(std::string_view json);
  ~JsonTree();
  JsonTree(const JsonTree&) = delete;
  JsonTree& operator=(const JsonTree&) = delete;

  /// The outermost value, or null if the text is not valid JSON.
  [[nodiscard]] const JsonNode* root() const noexcept {
    return error_.empty() ? nodes_.front().first() : nullptr;
  }
  /// Why there is no root, in a few words; otherwise empty.
  [[nodiscard]] std::string_view error() const noexcept { return error_; }

 private:
  struct Source;

  std::unique_ptr<Source> source_;
  std::vector<JsonNode> nodes_;
  std::string_view error_;
};

}  // namespace corvo::corvo_internal::json
