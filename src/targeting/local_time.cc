// SPDX-License-Identifier: Apache-2.0

#include "targeting/local_time.h"

#include <algorithm>

namespace corvo::corvo_internal::targeting {
namespace {

using base::kSecondsPerDay;
using base::LocalSeconds;

constexpr std::int64_t kSampleSeconds = 3'600;
constexpr unsigned kMemoBits = 8;

// The cache slot of a conversion. The upper bits of a product spread inputs that are whole minutes
// or days apart (Fibonacci hashing).
std::size_t placeOf(std::int64_t from) {
  return static_cast<std::size_t>(static_cast<std::uint64_t>(from) * 0x9E3779B97F4A7C15U >>
                                  (64 - kMemoBits));
}

}  // namespace

template <class To>
template <class Convert>
To LocalTime::Memo<To>::get(std::int64_t from, Convert convert) {
  if (entries_.empty()) entries_.resize(std::size_t{1} << kMemoBits);
  Entry& entry = entries_[placeOf(from)];
  if (entry.from != from) entry = {from, convert()};
  return entry.to;
}

LocalSeconds LocalTime::at(double moment) const {
  const std::int64_t whole = base::wholeSeconds(moment);
  return whole + zone_.offsetAt(whole);
}

std::optional<std::int64_t> LocalTime::momentOf(LocalSeconds local) const {
  return moments_.get(local, [&] { return search(local); });
}

std::optional<std::int64_t> LocalTime::momentOf(std::string_view date) const {
  const std::string_view last(lastRead_.text.data(), lastRead_.size);
  if (date == last && !last.empty()) return lastRead_.moment;
  const auto local = parseConditionDate(date);
  const auto moment = local ? momentOf(*local) : std::nullopt;
  if (date.size() <= lastRead_.text.size()) {
    std::ranges::copy(date, lastRead_.text.begin());
    lastRead_.size = date.size();
    lastRead_.moment = moment;
  }
  return moment;
}

bool LocalTime::withinOneDay(std::int64_t from, std::int64_t to) const {
  const bool backwards = to < from;
  const std::int64_t day = backwards ? -kSecondsPerDay : kSecondsPerDay;
  const LocalSeconds neighbour = localAt(from) + day;
  // Tries the neighbour by the offset at `from`, then by the offset a plain day away. If the clocks
  // show the time at neither, they skip it. The offset before the gap is the smaller one, so it
  // gives the later moment.
  const std::int64_t plain = from + day;
  const std::int64_t shifted = plain + (neighbour - localAt(plain));
  const bool shown = shifted == plain || localAt(shifted) == neighbour;
  const std::int64_t limit = shown ? shifted : std::max(plain, shifted);
  return backwards ? to > limit : to < limit;
}

void LocalTime::forget() noexcept {
  lastRead_ = {};
  moments_.forget();
  locals_.forget();
  steady_ = {};
}

LocalSeconds LocalTime::localAt(std::int64_t moment) const {
  return locals_.get(moment, [&] { return moment + zone_.offsetAt(moment); });
}

// Tries every offset that is in force within a day of `local`. If there is only one, it is right.
std::optional<std::int64_t> LocalTime::search(LocalSeconds local) const {
  if (isSteady(local - kSecondsPerDay, local + kSecondsPerDay)) return local - steady_.offset;
  std::optional<std::int64_t> last;
  std::optional<std::int32_t> tried;
  for (std::int64_t sample = local - kSecondsPerDay; sample <= local + kSecondsPerDay;
       sample += kSampleSeconds) {
    const std::int32_t offset = zone_.offsetAt(sample);
    if (offset == tried) continue;
    tried = offset;
    const std::int64_t moment = local - offset;
    if (zone_.offsetAt(moment) == offset) last = std::max(last.value_or(moment), moment);
  }
  return last;
}

// Whether the offset is constant over the range. Extends the known steady range, so that for many
// nearby times only the first one queries the zone often.
bool LocalTime::isSteady(std::int64_t from, std::int64_t to) const {
  if (to < steady_.first || steady_.last < from) steady_ = {from, from, zone_.offsetAt(from)};
  for (; from < steady_.first; steady_.first -= kSampleSeconds) {
    if (zone_.offsetAt(steady_.first - kSampleSeconds) != steady_.offset) return false;
  }
  for (; steady_.last < to; steady_.last += kSampleSeconds) {
    if (zone_.offsetAt(steady_.last + kSampleSeconds) != steady_.offset) return false;
  }
  return true;
}

std::optional<LocalSeconds> parseConditionDate(std::string_view text) {
  const auto minute = base::parseDate(text, base::DatePattern::minute);
  return minute ? minute : base::parseDate(text, base::DatePattern::day);
}

}  // namespace corvo::corvo_internal::targeting
