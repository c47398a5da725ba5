// SPDX-License-Identifier: Apache-2.0

#include <gtest/gtest.h>
#include <unicode/basictz.h>
#include <unicode/gregocal.h>
#include <unicode/smpdtfmt.h>
#include <unicode/tztrans.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>
#include <iterator>
#include <memory>
#include <optional>
#include <random>
#include <regex>
#include <sstream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "targeting/local_time.h"

// Compares date parsing and day counting with ICU, for texts around the changes of many zones. Both
// sides use ICU's zones, so different editions of the tz database do not matter.

namespace corvo::corvo_internal::targeting {
namespace {

using base::DatePattern;
using base::LocalSeconds;

constexpr std::int64_t kHour = 3'600;
constexpr std::int64_t kYear = 31'556'952;

// Unusual gaps, changes at midnight, skipped and doubled days, offsets with seconds, negative
// summer time.
const std::vector<std::string> kZones = [] {
  std::istringstream names(
      "UTC Europe/Berlin Europe/Dublin Asia/Kathmandu Asia/Amman Asia/Manila Asia/Pyongyang "
      "Africa/Cairo Africa/Casablanca Africa/Monrovia America/Caracas America/Havana "
      "America/Juneau America/Sao_Paulo America/St_Johns Antarctica/Troll Australia/Lord_Howe "
      "Pacific/Apia Pacific/Kwajalein");
  return std::vector<std::string>(std::istream_iterator<std::string>(names), {});
}();

// The texts that ICU decides on: a date, and whatever its pattern adds. All others are rejected.
constexpr const char* kDateGrammar = "[\t-\r ]*0*[0-9]{1,4}-[\t-\r ]*[0-9]+-[\t-\r ]*[0-9]{2,}";
struct Pattern {
  DatePattern ours;
  const char* icu;
  const char* grammar;
};
constexpr std::array<Pattern, 3> kPatterns{
    {{DatePattern::day, "yyyy-MM-dd", ""},
     {DatePattern::minute, "yyyy-MM-dd HH:mm", "[\t-\r ]+[0-9]+:[\t-\r ]*[0-9]{2,}"},
     {DatePattern::second, "yyyy-MM-dd HH:mm:ss",
      "[\t-\r ]+[0-9]+:[\t-\r ]*[0-9]{2,}:[\t-\r ]*[0-9]{2,}"}}};

/// ICU's zone behind our interface.
class IcuZone final : public TimeZone {
 public:
  explicit IcuZone(const std::string& name) : zone_(icu::TimeZone::createTimeZone(name.c_str())) {}

  [[nodiscard]] std::int32_t offsetAt(std::int64_t moment) const override {
    UErrorCode status = U_ZERO_ERROR;
    std::int32_t standard = 0;
    std::int32_t more = 0;
    zone_->getOffset(static_cast<double>(moment) * 1'000, 0, standard, more, status);
    return (standard + more) / 1'000;
  }
  [[nodiscard]] std::uint64_t identifier() const override { return 1; }

  /// The next change of the clocks, or the moment itself if there is none.
  [[nodiscard]] std::int64_t changeAfter(std::int64_t moment) const {
    icu::TimeZoneTransition change;
    const auto& zone = dynamic_cast<const icu::BasicTimeZone&>(*zone_);
    const bool found = zone.getNextTransition(static_cast<double>(moment) * 1'000, 0, change);
    return found ? static_cast<std::int64_t>(change.getTime() / 1'000) : moment;
  }

  /// A strict calendar that is Gregorian from its start.
  [[nodiscard]] std::unique_ptr<icu::GregorianCalendar> calendar() const {
    UErrorCode status = U_ZERO_ERROR;
    auto made = std::make_unique<icu::GregorianCalendar>(*zone_, status);
    made->setGregorianChange(-8.64e15, status);
    if (U_FAILURE(status)) throw std::runtime_error(u_errorName(status));
    return made;
  }

 private:
  std::unique_ptr<icu::TimeZone> zone_;
};

class IcuFormat {
 public:
  IcuFormat(const char* pattern, const IcuZone& zone)
      : format_(icu::UnicodeString(pattern), icu::Locale("en_US_POSIX"), status_) {
    format_.adoptCalendar(zone.calendar().release());
    format_.setLenient(0);
  }
  [[nodiscard]] std::optional<std::int64_t> parse(const std::string& text) const {
    const auto wide = icu::UnicodeString::fromUTF8(text);
    icu::ParsePosition read(0);
    const double moment = format_.parse(wide, read);
    if (read.getErrorIndex() >= 0 || read.getIndex() != wide.length()) return std::nullopt;
    return static_cast<std::int64_t>(moment / 1'000);
  }

 private:
  UErrorCode status_ = U_ZERO_ERROR;
  icu::SimpleDateFormat format_;
};

/// A generator of test input with a fixed seed.
class Chance {
 public:
  std::int64_t within(std::int64_t least, std::int64_t most) {
    return least + static_cast<std::int64_t>(engine_() % static_cast<std::uint64_t>(most - least));
  }
  bool oneIn(std::int64_t times) { return within(0, times) == 0; }
  char letterOf(std::string_view letters) {
    return letters[static_cast<std::size_t>(within(0, static_cast<std::int64_t>(letters.size())))];
  }

  /// Usually near a change of the clocks, otherwise anywhere in the calendar.
  std::int64_t moment(const IcuZone& zone) {
    if (oneIn(8)) return within(-1'972 * kYear, 8'035 * kYear);
    const std::int64_t change = zone.changeAfter(within(-120 * kYear, 80 * kYear));
    return change + (oneIn(2) ? within(-30 * kHour, 30 * kHour) : within(-kHour, kHour));
  }

  /// The text of a local time with some numbers, digits, blanks and bytes changed.
  std::string text(LocalSeconds local, DatePattern pattern) {
    std::string result;
    const std::string plain = base::formatDate(local, pattern);
    for (std::size_t at = 0; at < plain.size();) {
      const std::size_t end = std::min(plain.find_first_of("-: ", at), plain.size());
      std::string number = plain.substr(at, end - at);
      if (oneIn(30)) number = std::to_string(within(0, oneIn(3) ? INT64_MAX : 70));
      if (oneIn(10)) number.erase(0, std::min(number.find_first_not_of('0'), number.size() - 1));
      while (oneIn(10)) number.insert(number.begin(), '0');
      while (oneIn(10)) result += letterOf("\t\n\v\f\r ");
      result += number;
      if (end < plain.size()) result += plain[end];
      at = end + 1;
    }
    while (oneIn(3)) {
      const auto at = static_cast<std::size_t>(within(0, static_cast<std::int64_t>(result.size())));
      result.replace(at, oneIn(2) ? 1 : 0, oneIn(3) ? 0 : 1,
                     letterOf("0123456789-: \t\n\b\x0E\x1F+/.T"));
      if (result.empty()) return "-";
    }
    return result;
  }

 private:
  std::mt19937_64 engine_{20240331};
};

TEST(LocalTimesJudged, AreReadAsIcuReadsThem) {
  Chance chance;
  int dates = 0;
  int refused = 0;
  for (const std::string& name : kZones) {
    const IcuZone zone(name);
    const LocalTime localTime(zone);
    for (const Pattern& pattern : kPatterns) {
      const IcuFormat judge(pattern.icu, zone);
      const std::regex grammar(std::string(kDateGrammar) + pattern.grammar);
      for (int i = 0; i < 1'000; ++i) {
        const std::int64_t moment = chance.moment(zone);
        const std::int64_t offset = zone.offsetAt(moment + chance.within(-kHour, kHour));
        const std::string text = chance.text(moment + offset, pattern.ours);
        const auto local = base::parseDate(text, pattern.ours);
        const auto found = local ? localTime.momentOf(*local) : std::nullopt;
        const bool judged = std::regex_match(text, grammar);
        EXPECT_EQ(found, judged ? judge.parse(text) : std::nullopt) << name << ": " << text;
        ++(found ? dates : refused);
      }
    }
  }
  EXPECT_GT(dates, 15'000);
  EXPECT_GT(refused, 15'000);
}

TEST(LocalTimesJudged, AreWholeDaysApartAsIcuCountsThem) {
  Chance chance;
  for (const std::string& name : kZones) {
    const IcuZone zone(name);
    const LocalTime localTime(zone);
    const auto calendar = zone.calendar();
    for (int i = 0; i < 3'000; ++i) {
      const std::int64_t from = chance.moment(zone);
      const std::int64_t to = from + (chance.oneIn(2) ? chance.within(-100, 100) * kHour / 2
                                                      : chance.within(-50 * kHour, 50 * kHour));
      // ICU has its own rule for days that are skipped or doubled.
      const std::int64_t day = to < from ? -base::kSecondsPerDay : base::kSecondsPerDay;
      if (std::abs(zone.offsetAt(from) - zone.offsetAt(from + day)) > 12 * kHour) continue;
      UErrorCode status = U_ZERO_ERROR;
      calendar->setTime(static_cast<double>(from) * 1'000, status);
      const std::int32_t days =
          calendar->fieldDifference(static_cast<double>(to) * 1'000, UCAL_DATE, status);
      ASSERT_TRUE(U_SUCCESS(status));
      EXPECT_EQ(localTime.withinOneDay(from, to), days == 0) << name << ' ' << from << ' ' << to;
    }
  }
}

}  // namespace
}  // namespace corvo::corvo_internal::targeting
