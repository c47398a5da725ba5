// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvo/export.h>
#include <corvo/platform/time_zone.h>

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <string_view>
#include <utility>

namespace corvo::fakes {

/// A time zone, given by its IANA name, or by its offset and the moments at which the offset
/// changes. UTC by default.
///
/// Names are looked up in the system's time zone database: in the folder named by the variable
/// TZDIR, otherwise in /usr/share/zoneinfo. "UTC" needs no database. Without a database (on
/// Windows, in a minimal container), other names throw `std::invalid_argument`. Tests that must run
/// there should use offsets.
class CORVO_FAKES_EXPORT FakeTimeZone final : public TimeZone {
 public:
  /// Offsets from UTC in seconds, each with the moment (seconds since 1970) from which it applies.
  using Transitions = std::map<std::int64_t, std::int32_t>;

  /// Has this offset, in seconds east of UTC, until the first transition.
  explicit FakeTimeZone(std::int32_t offset = 0, Transitions transitions = {})
      : offset_(offset), transitions_(std::move(transitions)) {}
  /// For example "Europe/Berlin". Throws `std::invalid_argument` if there is no zone of that name.
  explicit FakeTimeZone(std::string_view name) { change(name); }
  explicit FakeTimeZone(std::nullptr_t) = delete;

  [[nodiscard]] std::int32_t offsetAt(std::int64_t moment) const override;
  [[nodiscard]] std::uint64_t identifier() const override { return identifier_; }

  /// Changes to another zone. If there is no zone of that name, throws and changes nothing.
  void change(std::int32_t offset, Transitions transitions = {});
  void change(std::string_view name);
  void change(std::nullptr_t) = delete;

 private:
  std::shared_ptr<const TimeZone> named_;  // replaces the offsets
  std::int32_t offset_ = 0;
  Transitions transitions_;
  std::uint64_t identifier_ = 0;
};

}  // namespace corvo::fakes
