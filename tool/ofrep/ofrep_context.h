// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvo/evaluation_context.h>
#include <corvo/project.h>
#include <corvo/text_hash.h>

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "json/json_tree.h"
#include "tool/surroundings.h"

namespace corvo::tool {

/// Why a request is not answered, in the protocol's terms.
struct OfrepFailure {
  const char* code;     ///< One of the protocol's error codes.
  std::string details;  ///< For people. Contains nothing of the context.
};

/// Which property of a project a key of a context stands for: "targetingKey" for "userId", which no
/// other key can set; any other key for the property of that very name if the project reads it,
/// otherwise for the custom property. Immutable.
class ContextKeys {
 public:
  explicit ContextKeys(const Project& project);

  struct Place {
    std::size_t property = 0;  ///< The position in `properties`.
    bool isVeryName = false;   ///< Such a key precedes another one for the same property.
  };
  /// The place of a key; null if no answer depends on it.
  [[nodiscard]] const Place* find(std::string_view key) const;

  [[nodiscard]] const std::vector<std::string>& properties() const noexcept { return properties_; }

  /// The position of the property that the targeting key sets.
  [[nodiscard]] std::size_t userId() const noexcept { return userId_; }

 private:
  std::vector<std::string> properties_;
  std::unordered_map<std::string, Place, TextHash, std::equal_to<>> places_;
  std::size_t userId_ = 0;
};

/// Reads the bodies of requests, {"context": {"targetingKey": TEXT, ...}}, one after another.
///
/// If keys repeat, the last one counts. Texts become properties as they are, booleans and numbers
/// as `CorvoUser::Builder::setCustomProperty` writes them: a number without fraction and exponent
/// that fits 64 bits is an integer, any other a double. Null is an absent property. Objects, lists
/// and numbers that no double can hold are ignored, and reported. The properties do not expire.
class OfrepContext {
 public:
  /// `location` is for users without one of their own, with the backend's names. Refers to `keys`.
  OfrepContext(const ContextKeys& keys, const Surroundings& surroundings,
               const PropertyMap& location);
  OfrepContext(const OfrepContext&) = delete;
  OfrepContext& operator=(const OfrepContext&) = delete;

  /// Reads a body, or says why it cannot be read. The body must stay in memory while the context is
  /// in use.
  [[nodiscard]] std::optional<OfrepFailure> read(std::string_view body);

  /// The context of the last body that could be read.
  [[nodiscard]] const EvaluationContext& context() const noexcept { return context_; }
  /// The names of its ignored members, joined by ", ". Empty if there are none.
  [[nodiscard]] const std::string& ignored() const noexcept { return ignored_; }

  /// Frees the memory of the body. There is no context until the next one is read.
  void forget();

 private:
  using Node = corvo_internal::json::JsonNode;

  // The last members that set a property, null if there is none. The very name comes first.
  struct Setters {
    const Node* veryName = nullptr;
    const Node* custom = nullptr;
  };

  std::optional<OfrepFailure> readUser(const Node& user);
  static std::optional<std::string_view> textOf(const Node* value, std::string& place);

  const ContextKeys& keys_;
  std::optional<corvo_internal::json::JsonTree> tree_;
  std::vector<Setters> setters_;    // by property, like the next member
  std::vector<std::string> texts_;  // of numbers
  std::vector<EvaluationContext::Property> properties_;
  EvaluationContext context_;
  std::string ignored_;
};

}  // namespace corvo::tool
