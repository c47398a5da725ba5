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

/// Reads lines that each have a user as a JSON object: the members of a `UserDocument`, and "id",
/// any scalar; "geo", the location; "device", its facts; "now", a moment; "zone", the name of a
/// time zone. For one thread at a time.
class UserLine {
 public:
  /// What holds where a line says nothing else: the context without its user but with a zone, and
  /// documents that describe a part of the user. Refers to both.
  UserLine(const EvaluationContext& defaults, std::span<const UserDocument* const> common);
  UserLine(const UserLine&) = delete;
  UserLine& operator=(const UserLine&) = delete;

  /// Why a line cannot be used.
  struct Fault {
    const char* code;  ///< For programs; it never changes.
    std::string reason;
    std::size_t place = 0;  ///< In bytes.
  };
  /// Reads the next one, which must stay until the one after it.
  [[nodiscard]] std::optional<Fault> read(std::string_view text);

  /// Gives the memory of the last one back. After it there is no context until the next one.
  void forget() { tree_.reset(); }

  /// The identifier as a JSON text: null where the line has none, or none that can be used.
  [[nodiscard]] const std::string& id() const noexcept { return id_; }
  /// All that the answer depends on. Valid until the next line is read.
  [[nodiscard]] const EvaluationContext& context() const noexcept { return context_; }

 private:
  using Node = corvo_internal::json::JsonNode;

  void startAnew();
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
  std::map<std::string, std::shared_ptr<const TimeZone>, std::less<>> zones_;  // known names
};

}  // namespace corvo::tool
