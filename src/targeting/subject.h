// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "base/civil_time.h"
#include "targeting/context.h"
#include "targeting/version.h"

namespace corvo::corvo_internal::targeting {

/// The property that a condition tests, read in the form that the condition needs. Expensive
/// readings are cached in the context's property table, so that many conditions on a long property
/// cost no more than their own values.
class Subject {
 public:
  /// The property with that number. `hashed` determines whether texts are compared with its digest.
  Subject(const Context& context, std::uint32_t number, bool hashed)
      : context_(context),
        value_(context.find(number)),
        number_(number),
        hashed_(hashed && value_ != nullptr) {}

  /// A missing property reads as the empty text.
  [[nodiscard]] std::string_view plain() const {
    return value_ == nullptr ? std::string_view{} : *value_;
  }
  /// The text that conditions compare with: the property itself or its digest. For a missing
  /// property it is the empty text, not a digest. Valid until another property is read.
  [[nodiscard]] std::string_view text() const { return hashed_ ? digest() : plain(); }
  /// The canonical decomposition of that text.
  [[nodiscard]] std::string_view decomposition() const;

  [[nodiscard]] std::optional<double> number() const;
  /// The last moment at which the clocks show the property's date, or empty if it is not a valid
  /// date.
  [[nodiscard]] std::optional<std::int64_t> moment() const;
  /// How the property compares with a version, or empty if it is not a valid version.
  [[nodiscard]] std::optional<int> orderTo(std::span<const std::int64_t> version) const;
  /// Whether the property contains the part.
  [[nodiscard]] bool contains(std::string_view part) const;

  [[nodiscard]] const LocalTime& localTime() const { return context_.localTime; }

  /// The property itself; null if it is missing.
  [[nodiscard]] const std::string_view* value() const noexcept { return value_; }
  [[nodiscard]] bool isHashed() const noexcept { return hashed_; }

 private:
  // Reading a short property again costs less than caching it.
  [[nodiscard]] bool isShort() const { return plain().size() <= 128; }
  [[nodiscard]] Readings& readings() const {
    return context_.properties->readings(number_, *value_);
  }
  [[nodiscard]] std::string_view digest() const;

  const Context& context_;
  const std::string_view* value_;  // null if it is missing
  std::uint32_t number_;
  bool hashed_;
};

}  // namespace corvo::corvo_internal::targeting
