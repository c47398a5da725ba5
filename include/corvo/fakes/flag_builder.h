#pragma once

#include <corvo/export.h>
#include <corvo/fakes/rules.h>
#include <corvo/json_value.h>

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace corvo::fakes {

/// A flag of a fake project. Made by `flag`; setters return the builder, so calls chain.
class CORVO_FAKES_EXPORT FlagBuilder {
 public:
  FlagBuilder(std::string_view name, Rules rules);

  /// The rules for the users in that group of the experiment that carries the flag.
  FlagBuilder& inGroup(std::string_view group, const Rules& rules);
  /// Compares MD5 digests in place of texts. The builder writes the digests of the conditions'
  /// values.
  FlagBuilder& isPrivate();
  /// "all", "ios" or "app" in any letter case; clients drop the flag for any other.
  FlagBuilder& platform(std::string_view platform) {
    return field("platform", std::string(platform));
  }
  /// Replaces the type, which is otherwise that of the first value. No answer depends on it.
  FlagBuilder& type(std::string_view type) { return field("type", std::string(type)); }
  /// Sets a key of the document by hand, whatever the builder would write there.
  FlagBuilder& field(std::string_view key, JsonValue value);

  [[nodiscard]] const std::string& name() const { return name_; }
  [[nodiscard]] std::vector<std::string> groups() const;
  /// The flag as the document has it. In a private experiment its groups compare digests.
  [[nodiscard]] JsonObject json(bool groupsArePrivate = false) const;

 private:
  std::string name_;
  Rules rules_;
  std::vector<std::pair<std::string, Rules>> groups_;
  bool isPrivate_ = false;
  JsonObject fields_;  // set by hand
};

/// A flag with its own rules, or one value for everyone.
[[nodiscard]] CORVO_FAKES_EXPORT FlagBuilder flag(std::string_view name, Rules rules = {});

}  // namespace corvo::fakes
