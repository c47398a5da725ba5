// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvo/export.h>
#include <corvo/fakes/rules.h>
#include <corvo/json_value.h>

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace corvo::fakes {

/// A flag of a fake project. Created by `flag`; setters return the builder, so calls chain.
class CORVO_FAKES_EXPORT FlagBuilder {
 public:
  /// Used by `flag`.
  FlagBuilder(std::string_view name, Rules rules);

  /// The rules for the users in that group of the experiment that carries the flag.
  FlagBuilder& inGroup(std::string_view group, const Rules& rules);
  /// Compares MD5 digests instead of texts. The builder writes the digests of the conditions'
  /// values.
  FlagBuilder& isPrivate();
  /// Clients keep the flag if the platform is exactly "all" or "ios", or "app" in any letter case.
  FlagBuilder& platform(std::string_view platform) {
    return field("platform", std::string(platform));
  }
  /// Sets the type. The default is the type of the first value. No answer depends on it.
  FlagBuilder& type(std::string_view type) { return field("type", std::string(type)); }
  /// Sets a key of the document by hand; overrides what the builder would write there.
  FlagBuilder& field(std::string_view key, JsonValue value);

  /// The flag's name, and the groups that `inGroup` named.
  [[nodiscard]] const std::string& name() const { return name_; }
  [[nodiscard]] std::vector<std::string> groups() const;
  /// The flag as in the document. In a private experiment, its groups compare digests.
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
