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

/// Why a document cannot be used, and which of its values is to blame.
struct DocumentFault {
  const corvo_internal::json::JsonNode* node;
  const char* code;    ///< "wrong-kind", "unknown-key" ...: for programs, it never changes.
  std::string reason;  ///< In a few words, for people; does not say where.
};
using PerhapsFault = std::optional<DocumentFault>;

/// Reads the members of an object, each by `read`, which is given key and value and answers
/// perhaps a fault. A fault counts where no later member has the same key: then that one counts.
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

/// Names and texts in a document's order; of several with one name the last counts.
using NamedTexts = std::vector<EvaluationContext::Property>;

/// Adds the members of an object that are texts, which all must be. Refers to the tree.
[[nodiscard]] PerhapsFault readTexts(const corvo_internal::json::JsonNode& object,
                                     NamedTexts& texts);

/// A user, or a part of one, as a document describes them. Refers to texts that are kept elsewhere.
struct UserDocument {
  NamedTexts properties;
  /// When the properties expire, "yyyy-MM-dd HH:mm:ss"; one that is not named has expired. Absent:
  /// no property expires.
  std::optional<NamedTexts> corvoExpiration;

  void clear();

  /// Whether an object of that kind has members of that name. Two keys are known: "properties" and
  /// "corvoExpiration", both of which may be missing.
  [[nodiscard]] static bool knows(std::string_view key);
  /// Reads a member under one of these. A later one replaces an earlier one.
  [[nodiscard]] PerhapsFault readMember(std::string_view key,
                                        const corvo_internal::json::JsonNode& value);
  /// Reads an object that has no other members.
  [[nodiscard]] PerhapsFault read(const corvo_internal::json::JsonNode& object);
};

/// The fault of a member that its object does not know.
[[nodiscard]] DocumentFault unknownKey(std::string_view key,
                                       const corvo_internal::json::JsonNode& value);
/// The fault of a value that is not `wanted`: "a text".
[[nodiscard]] DocumentFault wrongKind(const char* wanted,
                                      const corvo_internal::json::JsonNode& value);

/// The record of a user whom several documents describe together: the properties of a later one
/// replace those of an earlier one, each with its own expiry, or `expiry` where its document has
/// none.
[[nodiscard]] CorvoUser recordOf(std::span<const UserDocument* const> documents,
                                 std::string_view expiry);

/// The user that several documents describe together.
class DescribedUser {
 public:
  /// Gives the user to a context. Context and user refer to each other and to the documents' texts
  /// until the next call.
  void describe(std::span<const UserDocument* const> documents, EvaluationContext& context);

 private:
  NamedTexts lasting_;
  CorvoUser record_;
};

}  // namespace corvo::tool
