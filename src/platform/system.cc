#include "platform/system.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <ctime>
#include <string_view>

#ifdef __APPLE__
#include <crt_externs.h>
#elif !defined(_WIN32)
#include <unistd.h>
#endif

#include "base/text_hash.h"

namespace corvo::platform {
namespace {

/// On Linux, the moment of the kernel's last tick, a few milliseconds ago. Nothing that the library
/// decides needs a finer one, and the exact moment takes nearly five times as long to read.
class SystemClock final : public Clock {
 public:
  [[nodiscard]] double now() const override {
#ifdef __linux__
    std::timespec tick{};
    if (clock_gettime(CLOCK_REALTIME_COARSE, &tick) == 0) {
      return static_cast<double>(tick.tv_sec) + static_cast<double>(tick.tv_nsec) / 1e9;
    }
#endif
    return std::chrono::duration<double>(std::chrono::system_clock::now().time_since_epoch())
        .count();
  }
};

#ifdef _WIN32

constexpr std::int64_t kEarliest = 0;
constexpr std::int64_t kLatest = 32'535'215'999;  // the end of the year 3000

/// The text of the variable TZ.
class ZoneVariable {
 public:
  [[nodiscard]] std::string_view text() const noexcept {
    const char* const value = std::getenv("TZ");
    return value == nullptr ? std::string_view() : value;
  }
};

std::int64_t offsetOfLocalTime(std::int64_t moment) noexcept {
  std::tm local{};
  _tzset();
  if (_localtime64_s(&local, &moment) != 0) return 0;
  return _mkgmtime64(&local) - moment;
}

std::int64_t standardOffset() noexcept {
#ifdef __MINGW32__  // its import library knows the variable alone
  return _timezone;
#else
  long seconds = 0;
  _get_timezone(&seconds);
  return seconds;
#endif
}

#else

// A billion years either way: the C library counts years in an int.
constexpr std::int64_t kLatest = std::int64_t{1} << 55;
constexpr std::int64_t kEarliest = -kLatest;

/// The entry of the variable TZ in the environment, found again at the cost of a few loads:
/// `getenv`, which walks the environment, takes longer than the rest of a question.
class ZoneVariable {
 public:
  /// "TZ=..." or, when the variable is not set, nothing.
  [[nodiscard]] std::string_view text() const noexcept {
    char** const all = environment();
    const char* const entry = entry_.load(std::memory_order_relaxed);
    const std::size_t position = position_.load(std::memory_order_relaxed);
    if (all == nullptr || entry == nullptr || all != all_.load(std::memory_order_relaxed) ||
        all[position] != entry) {
      return find(all);
    }
    if (isZone(entry)) return entry;
    return all[position + 1] == nullptr ? std::string_view() : find(all);
  }

 private:
  static char** environment() noexcept {
#ifdef __APPLE__
    return *_NSGetEnviron();
#else
    return environ;
#endif
  }

  static bool isZone(const char* entry) noexcept {
    return entry[0] == 'T' && entry[1] == 'Z' && entry[2] == '=';
  }

  /// Remembers where TZ stands, or else which entry is the last: a variable that is new is added
  /// behind it.
  std::string_view find(char** all) const noexcept {
    if (all == nullptr || all[0] == nullptr) return {};
    std::size_t position = 0;
    while (!isZone(all[position]) && all[position + 1] != nullptr) ++position;
    all_.store(all, std::memory_order_relaxed);
    position_.store(position, std::memory_order_relaxed);
    entry_.store(all[position], std::memory_order_relaxed);
    return isZone(all[position]) ? std::string_view(all[position]) : std::string_view();
  }

  // Written together, read one by one: a mixture of two states does not match the environment.
  mutable std::atomic<char**> all_ = nullptr;
  mutable std::atomic<std::size_t> position_ = 0;
  mutable std::atomic<const char*> entry_ = nullptr;
};

std::int64_t offsetOfLocalTime(std::int64_t moment) noexcept {
  const auto time = static_cast<std::time_t>(moment);
  std::tm local{};
  tzset();  // `localtime` looks whether the zone has changed; `localtime_r` need not
  return localtime_r(&time, &local) == nullptr ? 0 : local.tm_gmtoff;
}

std::int64_t standardOffset() noexcept { return timezone; }

#endif

class SystemTimeZone final : public TimeZone {
 public:
  [[nodiscard]] std::int32_t offsetAt(std::int64_t moment) const override {
    constexpr std::int64_t kMost = 24 * 60 * 60 - 1;  // a text in TZ may claim a little more
    const std::int64_t offset = offsetOfLocalTime(std::clamp(moment, kEarliest, kLatest));
    return static_cast<std::int32_t>(std::clamp(offset, -kMost, kMost));
  }

  /// The text of TZ tells zones apart that differ only in their past. The standard offset tells
  /// that the system's own setting was exchanged beneath an unset TZ, once the C library has seen
  /// it, as `offsetAt` makes it do. The library's other variables, `tzname` and `daylight`, are of
  /// no use: glibc sets them anew for every moment that anyone converts.
  [[nodiscard]] std::uint64_t identifier() const override {
    constexpr std::uint64_t kOdd = 0x9E37'79B9'7F4A'7C15;
    return base::TextHash()(variable_.text()) + kOdd * static_cast<std::uint64_t>(standardOffset());
  }

 private:
  ZoneVariable variable_;
};

}  // namespace

std::shared_ptr<Clock> systemClock() {
  static const auto clock = std::make_shared<SystemClock>();
  return clock;
}

std::shared_ptr<TimeZone> systemTimeZone() {
  static const auto zone = std::make_shared<SystemTimeZone>();
  return zone;
}

}  // namespace corvo::platform
