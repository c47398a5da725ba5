// SPDX-License-Identifier: Apache-2.0

#include <cstdint>
#include <cstdlib>
#include <ctime>
#include <memory>
#include <string_view>

#include "platform/system.h"
#include "platform/system_parts.h"

namespace corvo::corvo_internal::platform {
namespace {

struct WindowsZone {
  static constexpr std::int64_t kEarliest = 0;
  static constexpr std::int64_t kLatest = 32'535'215'999;  // the end of the year 3000

  [[nodiscard]] static std::string_view text() noexcept {
    const char* const value = std::getenv("TZ");
    return value == nullptr ? std::string_view() : value;
  }

  [[nodiscard]] static std::int64_t offsetAt(std::int64_t moment) noexcept {
    std::tm local{};
    _tzset();
    if (_localtime64_s(&local, &moment) != 0) return 0;
    return _mkgmtime64(&local) - moment;
  }

  [[nodiscard]] static std::int64_t standardOffset() noexcept {
#ifdef __MINGW32__  // its import library exports only the variable
    return _timezone;
#else
    long seconds = 0;
    _get_timezone(&seconds);
    return seconds;
#endif
  }
};

}  // namespace

std::shared_ptr<Clock> systemClock() {
  static const auto clock = std::make_shared<ExactClock>();
  return clock;
}

std::shared_ptr<TimeZone> systemTimeZone() {
  static const auto zone = std::make_shared<SystemTimeZone<WindowsZone>>();
  return zone;
}

}  // namespace corvo::corvo_internal::platform
