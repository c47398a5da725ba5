#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <optional>
#include <string_view>
#include <vector>

#include "targeting/readings.h"

namespace corvo::corvo_internal::targeting {

/// The expiry of what never expires, and of what has expired for good.
constexpr double kNever = std::numeric_limits<double>::infinity();
constexpr double kForGood = -kNever;

/// `now` must be comparable.
[[nodiscard]] inline bool hasExpired(double expiry, double now) noexcept { return expiry < now; }

/// A moment that is not a number has expired nothing but what has expired for good.
[[nodiscard]] inline double comparable(double now) noexcept {
  constexpr double kEarliest = std::numeric_limits<double>::lowest();
  return now > kEarliest ? now : kEarliest;
}

/// The properties that a configuration's conditions test, by the numbers of their names: the
/// user's, each with the moment after which it counts as absent, and behind them those of device
/// and location, which do not expire. Refers to the texts, which must last. For one thread at a
/// time.
class PropertyTable {
 public:
  /// Makes room for that many names. Everything is absent. Without memory, nothing has changed.
  void resize(std::size_t count) { rows_ = std::vector<Row>(count); }

  /// All of the user's properties are absent from now on; those behind them.
  void forgetUser() noexcept { ++user_; }
  void forgetBehind() noexcept { ++behind_; }

  /// Enters a property. Of several of one name the first counts.
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

  /// Another value in place of one that has been entered.
  void changeBehind(std::uint32_t number, std::string_view value) { rows_[number].behind = value; }

  /// The user's property of that number, else the one behind it; else null. An expired one does not
  /// hide what is behind it.
  [[nodiscard]] const std::string_view* find(std::uint32_t number, double now) const {
    const Row& row = rows_[number];
    if (row.userOf == user_ && !hasExpired(row.expiry, now)) return &row.user;
    return row.behindOf == behind_ ? &row.behind : nullptr;
  }

  /// When the user's property of that number expired; none where they have it still, or never had.
  [[nodiscard]] std::optional<double> expired(std::uint32_t number, double now) const {
    const Row& row = rows_[number];
    if (row.userOf != user_ || !hasExpired(row.expiry, now)) return std::nullopt;
    return row.expiry;
  }
  /// Whether that is a user's value, or one behind it.
  [[nodiscard]] bool isUsers(std::uint32_t number, const std::string_view& value) const {
    return &rows_[number].user == &value;
  }

  /// What has been read out of the property of that number, which has been found to have that
  /// value. Valid until those of another property are asked for.
  [[nodiscard]] Readings& readings(std::uint32_t number, const std::string_view& value) const;

  /// To be called for each context, as values may have changed.
  void forgetReadings() { readings_.clear(); }

 private:
  // What was put before the present user came, or before those behind were put anew, is absent.
  struct Row {
    std::string_view user;
    double expiry = kNever;
    std::string_view behind;
    std::uint64_t userOf = 0;
    std::uint64_t behindOf = 0;
    mutable std::uint32_t readings = 0;  // their place, should they be there and of that value
  };

  std::vector<Row> rows_;
  std::uint64_t user_ = 1;
  std::uint64_t behind_ = 1;
  mutable std::vector<Readings> readings_;  // of the present context
};

}  // namespace corvo::corvo_internal::targeting
