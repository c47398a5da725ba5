// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <optional>
#include <string_view>
#include <vector>

#include "targeting/readings.h"

namespace corvo::corvo_internal::targeting {

/// The expiries of a value that never expires, and of one that has expired for good.
constexpr double kNever = std::numeric_limits<double>::infinity();
constexpr double kForGood = -kNever;

/// `now` must be the result of `comparable`.
[[nodiscard]] inline bool hasExpired(double expiry, double now) noexcept { return expiry < now; }

/// If the time is NaN, only values that have expired for good count as expired.
[[nodiscard]] inline double comparable(double now) noexcept {
  constexpr double kEarliest = std::numeric_limits<double>::lowest();
  return now > kEarliest ? now : kEarliest;
}

/// The properties that a configuration's conditions test, by the numbers of their names: the
/// user's, each with its expiry, and behind them those of device and location, which do not expire.
/// Refers to the texts, which must outlive it. Not thread-safe.
class PropertyTable {
 public:
  /// Makes room for that many names, all absent. If there is no memory, nothing has changed.
  void resize(std::size_t count) { rows_ = std::vector<Row>(count); }

  /// Marks all of the user's properties as absent, but not those behind them.
  void forgetUser() noexcept { ++user_; }
  void forgetBehind() noexcept { ++behind_; }

  /// Adds a property. If several have one name, the first counts.
  void putUser(std::uint32_t number, std::string_view value, double expiry) {
    Row& row = rows_[number];
    if (row.userOf == user_) return;
    row.userOf = user_;
    row.user = value;
    row.expiry = expiry;
  }
  void putBehind(std::uint32_t number, std::string_view value) {
    Row& row = rows_[number];
    if (row.behindOf == behind_) return;
    row.behindOf = behind_;
    row.behind = value;
  }

  /// Replaces the value of a property that was added.
  void changeBehind(std::uint32_t number, std::string_view value) { rows_[number].behind = value; }

  /// The user's property with that number, or else the one behind it, or else null. An expired
  /// property does not hide the one behind it.
  [[nodiscard]] const std::string_view* find(std::uint32_t number, double now) const {
    const Row& row = rows_[number];
    if (row.userOf == user_ && !hasExpired(row.expiry, now)) return &row.user;
    return row.behindOf == behind_ ? &row.behind : nullptr;
  }

  /// When the user's property with that number expired; empty if it has not expired or never
  /// existed.
  [[nodiscard]] std::optional<double> expired(std::uint32_t number, double now) const {
    const Row& row = rows_[number];
    if (row.userOf != user_ || !hasExpired(row.expiry, now)) return std::nullopt;
    return row.expiry;
  }
  /// Whether the value is the user's, or the one behind it.
  [[nodiscard]] bool isUsers(std::uint32_t number, const std::string_view& value) const {
    return &rows_[number].user == &value;
  }

  /// The cached readings of the property with that number and that value. Valid until the readings
  /// of another property are requested.
  [[nodiscard]] Readings& readings(std::uint32_t number, const std::string_view& value) const;

  /// Must be called for each context, because values may have changed.
  void forgetReadings() { readings_.clear(); }

 private:
  // Entries from before the current user, or before the values behind were replaced, count as
  // absent.
  struct Row {
    std::string_view user;
    double expiry = kNever;
    std::string_view behind;
    std::uint64_t userOf = 0;
    std::uint64_t behindOf = 0;
    mutable std::uint32_t readings = 0;  // their index, if they exist and belong to that value
  };

  std::vector<Row> rows_;
  std::uint64_t user_ = 1;
  std::uint64_t behind_ = 1;
  mutable std::vector<Readings> readings_;  // of the current context
};

}  // namespace corvo::corvo_internal::targeting
