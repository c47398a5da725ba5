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

/// A time zone by its IANA name, or by its offset and the moments at which that changes. UTC by
/// default.
///
/// Names are looked up in the system's time zone database: in the folder that the variable TZDIR
/// names, else in /usr/share/zoneinfo. "UTC" needs no database. Where there is none (on Windows, in
/// a minimal container) a name throws `std::invalid_argument`: a test that has to run there gives
/// the offsets.
class CORVO_FAKES_EXPORT FakeTimeZone final : public TimeZone {
 public:
  /// The offsets from UTC, in seconds, that hold from a moment (seconds since 1970) on.
  using Transitions = std::map<std::int64_t, std::int32_t>;

  /// That offset, in seconds east of UTC, up to the first transition.
  explicit FakeTimeZone(std::int32_t offset = 0, Transitions transitions = {})
      : offset_(offset), transitions_(std::move(transitions)) {}
  /// "Europe/Berlin". Throws `std::invalid_argument` when there is no zone of that name.
  explicit FakeTimeZone(std::string_view name) { change(name); }
  explicit FakeTimeZone(std::nullptr_t) = delete;

  [[nodiscard]] std::int32_t offsetAt(std::int64_t moment) const override;
  [[nodiscard]] std::uint64_t identifier() const override { return identifier_; }

  /// Moves to another zone. Where there is none of that name, throws and stays.
  void change(std::int32_t offset, Transitions transitions = {});
  void change(std::string_view name);
  void change(std::nullptr_t) = delete;

 private:
  std::shared_ptr<const TimeZone> named_;  // in place of the offsets
  std::int32_t offset_ = 0;
  Transitions transitions_;
  std::uint64_t identifier_ = 0;
};

}  // namespace corvo::fakes
