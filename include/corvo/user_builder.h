// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvo/argument.h>
#include <corvo/export.h>
#include <corvo/platform/clock.h>
#include <corvo/platform/time_zone.h>
#include <corvo/user.h>

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

namespace corvo {

/// An optional text, as a parameter: a text, an optional text or `std::nullopt`. A null pointer
/// counts as absent. It only refers to the text, so do not store it.
class OptionalText {
 public:
  /// No text.
  OptionalText(std::nullopt_t) noexcept {}

  /// A text; a null pointer counts as absent.
  template <CorvoText T>
  OptionalText(const T& text) {
    if constexpr (std::is_pointer_v<T>) {
      if (text == nullptr) return;
    }
    view_ = text;
  }

  /// An optional text.
  template <CorvoText T>
  OptionalText(const std::optional<T>& text) : OptionalText(std::nullopt) {
    if (text) *this = OptionalText(*text);
  }

  /// The text, which the caller still owns.
  [[nodiscard]] const std::optional<std::string_view>& view() const noexcept { return view_; }

 private:
  std::optional<std::string_view> view_;
};

/// A type whose values have a `description()`.
template <class V>
concept CorvoDescribable = requires(const V& value) {
  { value.description() } -> std::convertible_to<std::string_view>;
};

template <class V>
inline constexpr bool isCorvoCustomValue =
    CorvoText<V> || CorvoDescribable<V> || CorvoInteger<V> || std::floating_point<V> ||
    std::same_as<V, bool> || std::same_as<V, std::nullopt_t>;
template <class V>
inline constexpr bool isCorvoCustomValue<std::optional<V>> = isCorvoCustomValue<V>;

/// A value for a custom property: a text, a boolean, a number, a value with a `description()`, an
/// optional of these, or `std::nullopt`.
template <class V>
concept CorvoCustomValue = isCorvoCustomValue<V>;

/// Sets and removes the properties of a user. Each property expires 24 hours after it is set;
/// setting it again renews it. An absent value removes the property and its expiry. Invalid UTF-8
/// is replaced with U+FFFD. Setters return the builder, so calls chain.
///
/// Use a builder on one thread at a time. It shares ownership of its clock and time zone.
class CORVO_EXPORT CorvoUser::Builder {
 public:
  /// Computes expiries with the system's clock and time zone.
  Builder();
  /// Computes expiries with the given clock and zone, which must not be null.
  Builder(std::shared_ptr<const Clock> clock, std::shared_ptr<const TimeZone> timeZone);
  Builder(const Builder&) = delete;  // edits of a copy would be lost
  Builder& operator=(const Builder&) = delete;

  /// Each sets one property, which conditions refer to by name: `setUserId` sets "userId",
  /// `setOsName` "os.name", `setGeoCode` "geo.code", and so on. An absent value removes it.
  Builder& setUserId(OptionalText value) { return set("userId", value); }
  Builder& setProfileId(OptionalText value) { return set("profileId", value); }
  Builder& setDeviceId(OptionalText value) { return set("deviceId", value); }
  Builder& setAppVersion(OptionalText value) { return set("appVersion", value); }
  Builder& setOsName(OptionalText value) { return set("os.name", value); }
  Builder& setOsVersion(OptionalText value) { return set("os.version", value); }
  Builder& setGeoCode(OptionalText value) { return set("geo.code", value); }
  Builder& setGeoCountry(OptionalText value) { return set("geo.country", value); }
  Builder& setGeoState(OptionalText value) { return set("geo.state", value); }
  Builder& setGeoCity(OptionalText value) { return set("geo.city", value); }
  Builder& setEmail(OptionalText value) { return set("email", value); }

  /// Sets the property "custom." + key to the value's text. Booleans become "true" and "false";
  /// floating-point numbers get the shortest digits that read back: "42.0", "0.0001", "1e+16".
  template <CorvoCustomValue V>
  Builder& setCustomProperty(const V& value, std::string_view key) {
    if constexpr (CorvoDescribable<V>) {
      return setCustom(key, value.description());
    } else if constexpr (CorvoText<V> || std::same_as<V, std::nullopt_t>) {
      return setCustom(key, value);
    } else if constexpr (std::same_as<V, bool>) {
      return setCustom(key, value ? "true" : "false");
    } else if constexpr (CorvoInteger<V>) {
      return setCustom(key, std::to_string(value));
    } else if constexpr (std::same_as<V, float>) {
      return setCustom(key, describe(value));
    } else {
      return setCustom(key, describe(static_cast<double>(value)));
    }
  }
  template <CorvoCustomValue V>
  Builder& setCustomProperty(const std::optional<V>& value, std::string_view key) {
    return value ? setCustomProperty(*value, key) : setCustom(key, std::nullopt);
  }

  /// The user with the current properties and expiries.
  [[nodiscard]] CorvoUser build() const { return {properties, corvoExpiration}; }

  PropertyMap properties;  ///< The properties set so far, by name.
  /// For each property the local moment at which it expires, "yyyy-MM-dd HH:mm:ss".
  PropertyMap corvoExpiration;

 private:
  Builder& set(std::string_view key, OptionalText value);
  Builder& setCustom(std::string_view key, OptionalText value);
  static std::string describe(double value);
  static std::string describe(float value);

  const std::string& expiryText();

  std::shared_ptr<const Clock> clock_;
  std::shared_ptr<const TimeZone> timeZone_;
  // The text of the last expiry, for this second and zone; empty before the first.
  std::string expiry_;
  std::int64_t expirySecond_ = 0;
  std::uint64_t zone_ = 0;
};

}  // namespace corvo
