#include "targeting/local_time.h"

#include <algorithm>

namespace corvo::targeting {
namespace {

using base::kSecondsPerDay;
using base::LocalSeconds;

constexpr std::int64_t kSampleSeconds = 3'600;
constexpr unsigned kMemoBits = 8;

// The place of a conversion: the upper bits of a multiplication spread inputs that lie whole
// minutes or days apart (Fibonacci hashing).
std::size_t placeOf(std::int64_t from) {
  return static_cast<std::uint64_t>(from) * 0x9E3779B97F4A7C15U >> (64 - kMemoBits);
}

}  // namespace

template <class Convert>
std::int64_t LocalTime::Memo::get(std::int64_t from, Convert convert) {
  if (entries_.empty()) entries_.resize(std::size_t{1} << kMemoBits);
  Entry& entry = entries_[placeOf(from)];
  if (entry.from != from) entry = {from, convert()};
  return entry.to;
}

LocalSeconds LocalTime::at(double moment) const {
  const std::int64_t whole = base::wholeSeconds(moment);
  return whole + zone_.offsetAt(whole);
}

std::int64_t LocalTime::momentOf(LocalSeconds local) const {
  forgetFormerZone();
  return moments_.get(local, [&] { return search(local); });
}

bool LocalTime::withinOneDay(std::int64_t from, std::int64_t to) const {
  const bool backwards = to < from;
  const std::int64_t day = backwards ? -kSecondsPerDay : kSecondsPerDay;
  const LocalSeconds neighbour = localAt(from) + day;
  const bool plainDay = localAt(from + day) == neighbour;
  const std::int64_t limit = plainDay ? from + day : momentOf(neighbour);
  return backwards ? to > limit : to < limit;
}

void LocalTime::forgetFormerZone() const {
  const std::uint64_t identifier = zone_.identifier();
  if (identifier == identifier_) return;
  identifier_ = identifier;
  moments_.forget();
  locals_.forget();
}

LocalSeconds LocalTime::localAt(std::int64_t moment) const {
  forgetFormerZone();
  return locals_.get(moment, [&] { return moment + zone_.offsetAt(moment); });
}

// Walks, in the order of time, through the stretches of constant offset within a day of `local`.
// The first that shows it decides; else the first change that jumps over it.
std::int64_t LocalTime::search(LocalSeconds local) const {
  const std::int64_t end = local + kSecondsPerDay;
  std::int64_t from = local - kSecondsPerDay;
  std::int32_t offset = zone_.offsetAt(from);
  std::optional<std::int64_t> unchanged;  // the moment, had the clocks not jumped over it
  while (true) {
    const std::int64_t shown = local - offset;
    const bool ahead = shown >= from;
    const auto change = changeAfter(from, ahead ? shown : end, offset);
    if (!change) return ahead ? shown : unchanged.value_or(shown);
    const std::int32_t next = zone_.offsetAt(*change);
    if (ahead && !unchanged && *change + next > local) unchanged = shown;
    from = *change;
    offset = next;
  }
}

// The first moment after `from`, up to and with `until`, at which another offset than that at
// `from` is in force.
std::optional<std::int64_t> LocalTime::changeAfter(std::int64_t from, std::int64_t until,
                                                   std::int32_t offset) const {
  std::int64_t before = from;
  std::int64_t after = from;
  do {
    if (after >= until) return std::nullopt;
    before = after;
    after = std::min(after + kSampleSeconds, until);
  } while (zone_.offsetAt(after) == offset);
  while (after - before > 1) {
    const std::int64_t middle = before + (after - before) / 2;
    (zone_.offsetAt(middle) == offset ? before : after) = middle;
  }
  return after;
}

}  // namespace corvo::targeting
