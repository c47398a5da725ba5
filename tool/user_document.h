// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvo/evaluation_context.h>
#include <corvo/user.h>

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "json/json_tree.h"

namespace corvo::tool {

/// Why a document is invalid, and the offending value.
struct DocumentFault {
  const corvo_internal::json::JsonNode* node;
  const char* code;    ///< "wrong-kind", "unknown-key" ...: for programs; never changes.
  std::string reason;  ///< A short reason for people, without the place.
};
using PerhapsFault = std::optional<DocumentFault>;

/// Reads the members of an object with `read`, which receives key and value and may return a fault.
/// If a key is repeated, only a fault of its last member counts.
template <class Read>
[[nodiscard]] PerhapsFault readMembers(const corvo_internal::json::JsonNode& object, Read read) {
  std::unordered_map<std::string_view, const corvo_internal::json::JsonNode*> last;
  for (const auto [key, value] : corvo_internal::json::JsonMembers(object)) {
    PerhapsFault fault = read(key, value);
    if (!fault) continue;
    if (last.empty()) {
      for (const auto [k, v] : corvo_internal::json::JsonMembers(object)) last[k] = &v;
    }
    if (last.at(key) == &value) return fault;
  }
  return std::nullopt;
}

/// Names and texts in document order. If several have one name, the last counts.
using NamedTexts = std::vector<EvaluationContext::Property>;

/// Adds the members of an object, which must all be texts. Refers to the tree.
[[nodiscard]] PerhapsFault readTexts(const corvo_internal::json::JsonNode& object,
                                     NamedTexts& texts);

/// A user, or part of one, as described by a document. Refers to texts kept elsewhere.
struct UserDocument {
  NamedTexts properties;
  /// The expiry of each property, "yyyy-MM-dd HH:mm:ss". A property without one has expired. If
  /// absent, no property expires.
  std::optional<NamedTexts> corvoExpiration;

  void clear();

  /// Whether such an object has members of that name. There are two keys, both optional:
  /// "properties" and "corvoExpiration".
  [[nodiscard]] static bool knows(std::string_view key);
  /// Reads a member with one of these keys. A later one replaces an earlier one.
  [[nodiscard]] PerhapsFault readMember(std::string_view key,
                                        const corvo_internal::json::JsonNode& value);
  /// Reads an object that has only these members.
  [[nodiscard]] PerhapsFault read(const corvo_internal::json::JsonNode& object);
};

/// The fault of an unknown member.
[[nodiscard]] DocumentFault unknownKey(std::string_view key,
                                       const corvo_internal::json::JsonNode& value);
/// The fault of a value that is not `wanted`, such as "a text".
[[nodiscard]] DocumentFault wrongKind(const char* wanted,
                                      const corvo_internal::json::JsonNode& value);

/// The record of a user described by several documents. Properties of a later document replace
/// those of an earlier one. Each keeps its own expiry, or gets `expiry` if its document has none.
[[nodiscard]] CorvoUser recordOf(std::span<const UserDocument* const> documents,
                                 std::string_view expiry);

/// A user described by several documents.
class DescribedUser {
 public:
  /// Sets the user of a context. Context and user refer to each other and to the documents' texts
  /// until the next call.
  void describe(std::span<const UserDocument* const> documents, EvaluationContext& context);

 private:
  NamedTexts lasting_;
  CorvoUser record_;
};

}  // namespace corvo::tool
