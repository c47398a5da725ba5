// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvo/evaluation_context.h>

#include <cstddef>
#include <map>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "json/json_tree.h"
#include "tool/user_document.h"

namespace corvo::tool {

/// Reads lines that each describe a user as a JSON object. Its members are those of a
/// `UserDocument`, and "id", any scalar; "geo", the location; "device", its facts; "now", a time;
/// "zone", the name of a time zone. Not thread-safe.
class UserLine {
 public:
  /// The defaults for everything that a line omits: a context without a user but with a zone, and
  /// documents that describe part of the user. Refers to both.
  UserLine(const EvaluationContext& defaults, std::span<const UserDocument* const> common);
  UserLine(const UserLine&) = delete;
  UserLine& operator=(const UserLine&) = delete;

  /// Why a line is invalid.
  struct Fault {
    const char* code;  ///< For programs; never changes.
    std::string reason;
    std::size_t place = 0;  ///< In bytes.
  };
  /// Reads a line, which must stay in memory until the next one is read.
  [[nodiscard]] std::optional<Fault> read(std::string_view text);

  /// Frees the memory of the last line. There is no context until the next line.
  void forget() { tree_.reset(); }

  /// The identifier as a JSON text; "null" if the line has none or an invalid one.
  [[nodiscard]] const std::string& id() const noexcept { return id_; }
  /// Everything that the answer depends on. Valid until the next line is read.
  [[nodiscard]] const EvaluationContext& context() const noexcept { return context_; }

 private:
  using Node = corvo_internal::json::JsonNode;

  void restart();
  void readId(const Node& user);
  PerhapsFault readUser(const Node& user);
  PerhapsFault readMember(std::string_view key, const Node& value);
  PerhapsFault readGeo(const Node& value);
  PerhapsFault readDevice(const Node& value);
  PerhapsFault readNow(const Node& value);
  PerhapsFault readZone(const Node& value);

  const EvaluationContext& defaults_;
  std::optional<corvo_internal::json::JsonTree> tree_;
  std::string id_;
  const Node* now_ = nullptr;
  UserDocument own_;
  std::vector<const UserDocument*> documents_;
  DescribedUser user_;
  NamedTexts texts_;
  bool hasOwnLocation_ = false;
  bool hasOwnDevice_ = false;
  EvaluationContext context_;
  std::map<std::string, std::shared_ptr<const TimeZone>, std::less<>> zones_;  // those used so far
};

}  // namespace corvo::tool
