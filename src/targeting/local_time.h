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

/// Converts between moments and the local times that a zone's clocks show then, and remembers the
/// conversions asked for most recently.
///
/// For one thread at a time; others use a `LocalTime` of their own. The zone must outlive it.
/// Moments are seconds since 1970-01-01 00:00:00 UTC. Moments and local times may lie anywhere
/// within the reach of `base::wholeSeconds`.
class LocalTime {
 public:
  explicit LocalTime(const TimeZone& zone) : zone_(zone) {}

  /// Forgets what it remembers. To be called when the zone's identifier has changed: it is looked
  /// at once per question, not at every conversion.
  void forget() noexcept;

  /// What the clocks show at a moment, fractions of a second dropped downwards.
  [[nodiscard]] base::LocalSeconds at(double moment) const;

  /// The last moment at which the clocks show a local time; none where a change of the clocks skips
  /// it. Right as long as the zone's changes are an hour apart or more; in the tz database they are
  /// nearly four days apart.
  [[nodiscard]] std::optional<std::int64_t> momentOf(base::LocalSeconds local) const;

  /// That of a text as conditions write a date: with a time of day, to the minute, or without. The
  /// last text is remembered, for most conditions on a date read the text of the clock.
  [[nodiscard]] std::optional<std::int64_t> momentOf(std::string_view date) const;

  /// Whether no whole day lies between two moments. A whole day after `from` (before it, where `to`
  /// is earlier) the clocks show the same time on the neighbouring date, so it may have 23 or 25
  /// hours. Where they skip that time, it is moved forward by the gap.
  [[nodiscard]] bool withinOneDay(std::int64_t from, std::int64_t to) const;

 private:
  // Conversions by their input, each with one place to be in.
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
  // From the one moment to the other the offset is the same, as it is at every hour between them.
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

/// Reads a date as conditions write it.
[[nodiscard]] std::optional<base::LocalSeconds> parseConditionDate(std::string_view text);

}  // namespace corvo::corvo_internal::targeting
