// SPDX-License-Identifier: Apache-2.0

#include "targeting/device_properties.h"

#include <algorithm>
#include <array>

#include "base/number.h"

namespace corvo::corvo_internal::targeting {

namespace {

constexpr std::array<std::string_view, 4> kDevice{"appVersion", "deviceId", "os.name",
                                                  "os.version"};
constexpr std::array<std::string_view, 2> kClock{"time", "date"};

}  // namespace

DeviceProperties::DeviceProperties(const DeviceFacts& facts)
    : list_{{{kDevice[0], facts.applicationVersion.value_or("")},
             {kDevice[1], facts.vendorIdentifier.value_or("")},
             {kDevice[2], facts.systemName.value_or("")},
             {kDevice[3], normalisedVersion(facts.systemVersion.value_or(""))},
             {kClock[0], ""},
             {kClock[1], ""}}} {}

Shows whatShows(std::string_view name) noexcept {
  const auto isOne = [name](const auto& names) {
    return std::ranges::find(names, name) != names.end();
  };
  if (isOne(kDevice)) return Shows::device;
  return isOne(kClock) ? Shows::clock : Shows::neither;
}

bool DeviceProperties::showAgain(double now, std::uint64_t zone, const LocalTime& localTime) {
  const base::LocalSeconds minute = base::startOfMinute(localTime.at(now));
  const bool isAnother = minute_ != minute;
  if (isAnother) {
    const std::string text = base::formatDate(minute, base::DatePattern::minute);
    list_[kTime].value = text;
    list_[kDate].value = text;
    minute_ = minute;
  }
  second_ = static_cast<double>(base::wholeSeconds(now));
  zone_ = zone;
  return isAnother;
}

std::string normalisedVersion(std::string_view version) {
  std::array<std::int64_t, 3> numbers{};
  for (std::int64_t& number : numbers) {
    const std::size_t dot = version.find('.');
    number = base::parseInteger(version.substr(0, dot)).value_or(0);
    version = dot == std::string_view::npos ? "" : version.substr(dot + 1);
  }
  const std::string text = std::to_string(numbers[0]) + '.' + std::to_string(numbers[1]);
  return numbers[2] > 0 ? text + '.' + std::to_string(numbers[2]) : text;
}

}  // namespace corvo::corvo_internal::targeting
