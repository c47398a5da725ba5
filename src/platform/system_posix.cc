// SPDX-License-Identifier: Apache-2.0

#include "platform/system_posix.h"

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <ctime>
#include <limits>
#include <memory>
#include <string_view>

#include "platform/system.h"
#include "platform/system_parts.h"

namespace corvo::corvo_internal::platform {
namespace {

class PosixZone {
 public:
  // A billion years before and after 1970, since the C library counts years in an int; with 32 bits
  // for a moment, from 1901 to 2038.
  using Moments = std::numeric_limits<std::time_t>;
  static constexpr std::int64_t kLatest =
      std::min<std::int64_t>(std::int64_t{1} << 55, Moments::max());
  static constexpr std::int64_t kEarliest = std::max<std::int64_t>(-kLatest, Moments::min());

  /// The entry "TZ=..." of the environment, found with a few loads. `getenv` searches the whole
  /// environment, which takes longer than the rest of a question.
  [[nodiscard]] std::string_view text() const noexcept {
    char** const all = *environment_;
    const char* const entry = entry_.load(std::memory_order_relaxed);
    const std::size_t position = position_.load(std::memory_order_relaxed);
    if (all == nullptr || entry == nullptr || all != all_.load(std::memory_order_relaxed) ||
        all[position] != entry) {
      return find(all);
    }
    if (isZone(entry)) return entry;
    return all[position + 1] == nullptr ? std::string_view() : find(all);
  }

  [[nodiscard]] static std::int64_t offsetAt(std::int64_t moment) noexcept {
    const auto time = static_cast<std::time_t>(moment);
    std::tm local{};
    tzset();  // unlike `localtime`, `localtime_r` need not check whether the zone has changed
    return localtime_r(&time, &local) == nullptr ? 0 : local.tm_gmtoff;
  }

  [[nodiscard]] static std::int64_t standardOffset() noexcept { return timezone; }

 private:
  static bool isZone(const char* entry) noexcept {
    return entry[0] == 'T' && entry[1] == 'Z' && entry[2] == '=';
  }

  /// Remembers the position of TZ or, if there is none, of the last entry, because new variables
  /// are added after it.
  std::string_view find(char** all) const noexcept {
    if (all == nullptr || all[0] == nullptr) return {};
    std::size_t position = 0;
    while (!isZone(all[position]) && all[position + 1] != nullptr) ++position;
    all_.store(all, std::memory_order_relaxed);
    position_.store(position, std::memory_order_relaxed);
    entry_.store(all[position], std::memory_order_relaxed);
    return isZone(all[position]) ? std::string_view(all[position]) : std::string_view();
  }

  char** const* environment_ = environmentPlace();
  // Written together, read one by one. A mixture of two states does not match the environment.
  mutable std::atomic<char**> all_ = nullptr;
  mutable std::atomic<std::size_t> position_ = 0;
  mutable std::atomic<const char*> entry_ = nullptr;
};

}  // namespace

std::shared_ptr<TimeZone> systemTimeZone() {
  static const auto zone = std::make_shared<SystemTimeZone<PosixZone>>();
  return zone;
}

}  // namespace corvo::corvo_internal::platform
