// SPDX-License-Identifier: Apache-2.0

#include "tool/moment.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <string>

#include "base/civil_time.h"
#include "base/number.h"
#include "targeting/local_time.h"

namespace corvo::tool {
namespace {

using namespace corvo_internal;

constexpr std::string_view kDigits = "0123456789";

/// Reads a moment from the front of a text. After the first mismatch, nothing is read any more.
class MomentText {
 public:
  explicit MomentText(std::string_view text) : rest_(text) {}

  /// Whether the text starts with one of the letters, which is then removed.
  bool take(std::string_view anyOf) {
    const bool there = !rest_.empty() && anyOf.find(rest_.front()) != std::string_view::npos;
    if (there) rest_.remove_prefix(1);
    return there;
  }
  void expect(std::string_view anyOf) { fits_ &= take(anyOf); }

  [[nodiscard]] std::size_t digitsInFront() const {
    return std::min(rest_.find_first_not_of(kDigits), rest_.size());
  }
  std::string digits(std::size_t count) {
    fits_ &= count > 0 && count <= digitsInFront();
    if (!fits_) return "";
    const std::string_view taken = rest_.substr(0, count);
    rest_.remove_prefix(count);
    return std::string(taken);
  }

  void markInvalid() { fits_ = false; }
  [[nodiscard]] bool fits() const { return fits_; }
  [[nodiscard]] bool isRead() const { return fits_ && rest_.empty(); }

 private:
  std::string_view rest_;
  bool fits_ = true;
};

/// The offset "+01:00" or similar in seconds; empty for local time.
std::optional<std::int64_t> readOffset(MomentText& in) {
  if (in.take("Z")) return 0;
  const bool west = in.take("-");
  if (!west && !in.take("+")) return std::nullopt;
  const std::string hours = in.digits(2);
  const std::string minutes = in.take(":") || in.digitsInFront() > 0 ? in.digits(2) : "00";
  if (!in.fits() || hours > "23" || minutes > "59") return in.markInvalid(), std::nullopt;
  const std::int64_t seconds = std::stoll(hours) * 3'600 + std::stoll(minutes) * 60;
  return west ? -seconds : seconds;
}

std::optional<double> parseDateAndTime(std::string_view text, const TimeZone& zone) {
  MomentText in(text);
  std::string date = in.digits(4);  // in the form "yyyy-MM-dd HH:mm:ss"
  const bool compact = !in.take("-");
  date.append("-").append(in.digits(2));
  if (!compact) in.expect("-");
  date.append("-").append(in.digits(2));

  std::string time = "00:00:00";
  double fraction = 0;
  std::optional<std::int64_t> offset;
  if (compact || !in.isRead()) {
    in.expect("T ");
    time = in.digits(2);
    if (!compact) in.expect(":");
    time.append(":").append(in.digits(2));
    if (compact ? in.digitsInFront() > 0 : in.take(":")) {
      time.append(":").append(in.digits(2));
      if (in.take(".,")) fraction = *base::parseDecimal("0." + in.digits(in.digitsInFront()));
    } else {
      time += ":00";
    }
    offset = readOffset(in);
  }

  const auto local = base::parseDate(date + " " + time, base::DatePattern::second);
  if (!in.isRead() || !local) return std::nullopt;
  const auto moment = offset ? *local - *offset : targeting::LocalTime(zone).momentOf(*local);
  if (!moment) return std::nullopt;
  return static_cast<double>(*moment) + fraction;
}

}  // namespace

std::optional<double> parseMoment(std::string_view text, const TimeZone& zone) {
  const auto seconds = base::parseDecimal(text);
  if (seconds) return std::isfinite(*seconds) ? seconds : std::nullopt;
  return parseDateAndTime(text, zone);
}

}  // namespace corvo::tool
