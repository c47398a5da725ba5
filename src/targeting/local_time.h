// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvo/platform/time_zone.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include "base/civil_time.h"

namespace corvo::corvo_internal::targeting {

/// Converts between moments and a zone's local times, and caches recent conversions.
///
/// Not thread-safe; each thread uses its own `LocalTime`. The zone must outlive it. Moments are in
/// seconds since 1970-01-01 00:00:00 UTC. Moments and local times may be anywhere in the range of
/// `base::wholeSeconds`.
class LocalTime {
 public:
  explicit LocalTime(const TimeZone& zone) : zone_(zone) {}

  /// Clears the cache. Must be called when the zone's identifier has changed. The caller checks
  /// that once per question, not at every conversion.
  void forget() noexcept;

  /// The local time at a moment, rounded down to a second.
  [[nodiscard]] base::LocalSeconds at(double moment) const;

  /// The last moment at which the clocks show a local time; empty if a change of the clocks skips
  /// it. Correct as long as the zone's changes are at least an hour apart; in the tz database they
  /// are nearly four days apart.
  [[nodiscard]] std::optional<std::int64_t> momentOf(base::LocalSeconds local) const;

  /// The moment of a date as conditions write it: with hour and minute, or without. The last text
  /// is cached, because most date conditions read the clock's text.
  [[nodiscard]] std::optional<std::int64_t> momentOf(std::string_view date) const;

  /// Whether no whole day lies between two moments. A whole day after `from` (before it, if `to` is
  /// earlier), the clocks show the same time on the adjacent date, so a day may have 23 or 25
  /// hours. If the clocks skip that time, it moves forward by the gap.
  [[nodiscard]] bool withinOneDay(std::int64_t from, std::int64_t to) const;

 private:
  // A cache of conversions by their input; each input has one possible slot.
  template <class To>
  class Memo {
   public:
    template <class Convert>
    To get(std::int64_t from, Convert convert);
    void forget() noexcept { entries_.clear(); }

   private:
    struct Entry {
      std::int64_t from = INT64_MIN;
      To to{};
    };
    std::vector<Entry> entries_;
  };

  [[nodiscard]] base::LocalSeconds localAt(std::int64_t moment) const;
  [[nodiscard]] std::optional<std::int64_t> search(base::LocalSeconds local) const;
  [[nodiscard]] bool isSteady(std::int64_t from, std::int64_t to) const;

  const TimeZone& zone_;
  // A range over which the offset is the same, as checked at every hour.
  struct Steady {
    std::int64_t first = INT64_MAX;
    std::int64_t last = INT64_MIN;
    std::int32_t offset = 0;
  };
  struct Read {
    std::array<char, 16> text{};  // "yyyy-MM-dd HH:mm"
    std::size_t size = 0;
    std::optional<std::int64_t> moment;
  };
  mutable Read lastRead_;
  mutable Steady steady_;
  mutable Memo<std::optional<std::int64_t>> moments_;
  mutable Memo<base::LocalSeconds> locals_;
};

/// Parses a date as conditions write it.
[[nodiscard]] std::optional<base::LocalSeconds> parseConditionDate(std::string_view text);

}  // namespace corvo::corvo_internal::targeting
