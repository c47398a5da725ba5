#include "targeting/device_properties.h"

#include <array>

#include "base/number.h"

namespace corvo::corvo_internal::targeting {

DeviceProperties::DeviceProperties(const DeviceFacts& facts)
    : list_{{{"appVersion", facts.applicationVersion.value_or("")},
             {"deviceId", facts.vendorIdentifier.value_or("")},
             {"os.name", facts.systemName.value_or("")},
             {"os.version", normalisedVersion(facts.systemVersion.value_or(""))},
             {"time", ""},
             {"date", ""}}} {}

bool DeviceProperties::showAnew(double now, std::uint64_t zone, const LocalTime& localTime) {
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
