// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "tool/user_document.h"

namespace corvo::tool {

/// Why a variation, "NAME=SHARE:VALUE", is invalid; empty if it is valid.
[[nodiscard]] std::string complainAboutVariation(const std::string& text);

/// The properties that some users have, drawn by a hash: the same on every machine.
class Variations {
 public:
  /// From texts "NAME=SHARE:VALUE". Texts with the same name share one draw, so that a user has at
  /// most one of their values. Throws a `CLI::ParseError` if their shares add up to more than 1.
  explicit Variations(std::span<const std::string> texts);

  /// Adds the properties of a user. Refers to this object.
  void addTo(NamedTexts& properties, std::size_t user) const;

  /// The names of the properties, each once.
  [[nodiscard]] std::vector<std::string_view> names() const;

 private:
  struct Choice {
    double end;  // of the interval of draws that give this value
    std::string value;
  };
  struct Variation {
    std::string name;
    std::uint64_t seed;
    std::vector<Choice> choices;
  };

  std::vector<Variation> all_;
};

/// One of the users that do not exist: "user-0" and so on.
class SyntheticUser {
 public:
  /// Refers to the variations.
  explicit SyntheticUser(const Variations& variations) : variations_(variations) {}
  SyntheticUser(const SyntheticUser&) = delete;
  SyntheticUser& operator=(const SyntheticUser&) = delete;

  /// Switches to the user with that number, from 0.
  void become(std::size_t number);

  /// Their properties. No two have the same name. Valid until the next switch.
  [[nodiscard]] const UserDocument& document() const noexcept { return document_; }

  /// The user as a line of `corvo assign`. The identifier is the number.
  [[nodiscard]] std::string line() const;

 private:
  const Variations& variations_;
  std::size_t number_ = 0;
  std::array<std::string, 3> identifiers_;
  UserDocument document_;
};

}  // namespace corvo::tool
