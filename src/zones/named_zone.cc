// SPDX-License-Identifier: Apache-2.0

#include "zones/named_zone.h"

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <optional>
#include <string_view>
#include <system_error>
#include <vector>

#include "zones/zone_rule.h"

namespace corvo::corvo_internal::zones {
namespace {

constexpr std::int64_t kForever = INT64_MAX;

/// A zone's changes in order. After the last one, they repeat with the calendar.
class TableZone final : public TimeZone {
 public:
  /// `first` is the offset before all changes.
  explicit TableZone(std::int32_t first) { add({INT64_MIN, first}); }

  void add(const OffsetChange& change) {
    if (!offsets_.empty() && offsets_.back() == change.offset) return;
    moments_.push_back(change.moment);
    offsets_.push_back(change.offset);
  }

  /// Applies a rule from a moment on, which must be later than all changes so far.
  void follow(const std::vector<OffsetChange>& rule, std::int64_t from) {
    const std::int64_t beyond = (from - kCycleStart) % kCalendarCycle;
    const std::int64_t cycle = from - beyond - (beyond < 0 ? kCalendarCycle : 0);
    end_ = from + kCalendarCycle;
    OffsetChange initial{from, rule.back().offset};
    std::vector<OffsetChange> later;
    for (const std::int64_t start : {cycle, cycle + kCalendarCycle}) {
      for (const OffsetChange& each : rule) {
        const OffsetChange change{each.moment - kCycleStart + start, each.offset};
        if (change.moment <= from) {
          initial.offset = change.offset;
        } else if (change.moment < end_) {
          later.push_back(change);
        }
      }
    }
    add(initial);
    for (const OffsetChange& each : later) add(each);
  }

  [[nodiscard]] std::int32_t offsetAt(std::int64_t moment) const override {
    const auto next = std::ranges::upper_bound(moments_, moment < end_ ? moment : folded(moment));
    return offsets_[static_cast<std::size_t>(next - moments_.begin() - 1)];
  }

  /// Unique among all zones.
  [[nodiscard]] std::uint64_t identifier() const override { return identifier_; }

 private:
  /// The equivalent of a moment after the end. Their distance may not fit a signed number.
  [[nodiscard]] std::int64_t folded(std::int64_t moment) const {
    const auto beyond = static_cast<std::uint64_t>(moment) - static_cast<std::uint64_t>(end_);
    return end_ - kCalendarCycle + static_cast<std::int64_t>(beyond % kCalendarCycle);
  }

  static std::uint64_t nextIdentifier() {
    static std::atomic<std::uint64_t> last = 0;
    return ++last;
  }

  std::vector<std::int64_t> moments_;  // ascending
  std::vector<std::int32_t> offsets_;
  std::int64_t end_ = kForever;
  std::uint64_t identifier_ = nextIdentifier();
};

/// Reads a file from its front. Missing bytes read as zero and mark the file as invalid.
class Bytes {
 public:
  explicit Bytes(std::string_view bytes) : rest_(bytes) {}

  std::string_view take(std::uint64_t count) {
    fits_ &= count <= rest_.size();
    if (!fits_) return {};
    const std::string_view taken = rest_.substr(0, static_cast<std::size_t>(count));
    rest_.remove_prefix(taken.size());
    return taken;
  }

  /// A big-endian number.
  std::uint64_t number(std::size_t size) {
    std::uint64_t value = 0;
    for (const char each : take(size)) value = value << 8 | static_cast<unsigned char>(each);
    return value;
  }

  /// A line without its newline.
  std::string_view line() {
    const std::string_view all = take(rest_.find('\n'));
    take(1);
    return all;
  }

  [[nodiscard]] bool fits() const { return fits_; }

 private:
  std::string_view rest_;
  bool fits_ = true;
};

/// A TZif header as in RFC 8536, section 3, and the size of the block after it.
struct Header {
  explicit Header(Bytes& file) {
    isHeader = file.take(4) == "TZif";
    version = static_cast<char>(file.number(1));
    file.take(15);
    for (std::uint64_t* each : {&isUt, &isStandard, &leaps, &changes, &types, &letters}) {
      *each = file.number(4);
    }
  }

  /// The size of the block, in which each moment has `momentSize` bytes.
  [[nodiscard]] std::uint64_t blockSize(std::uint64_t momentSize) const {
    return changes * (momentSize + 1) + types * 6 + letters + leaps * (momentSize + 4) +
           isStandard + isUt;
  }

  bool isHeader = false;
  char version = 0;
  std::uint64_t isUt = 0, isStandard = 0, leaps = 0, changes = 0, types = 0, letters = 0;
};

/// Whether the name denotes a file within the folder.
bool isPlain(std::string_view name) {
  constexpr std::string_view kLetters =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789._+-/";
  return !name.empty() && name.find_first_not_of(kLetters) == std::string_view::npos &&
         name.front() != '/' && name.find("..") == std::string_view::npos;
}

/// The offset of each type of local time; empty if one is a day or more.
std::optional<std::vector<std::int32_t>> offsetsOf(Bytes types, std::uint64_t count) {
  constexpr std::int64_t kDay = 86'400;
  std::vector<std::int32_t> offsets;
  for (std::uint64_t i = 0; i < count; ++i) {
    offsets.push_back(static_cast<std::int32_t>(types.number(4)));
    if (std::abs(std::int64_t{offsets.back()}) >= kDay) return std::nullopt;
    types.take(2);  // the flag for daylight saving time, and the index of the name
  }
  return offsets;
}

std::filesystem::path databaseFolder() {
  const char* const chosen = std::getenv("TZDIR");
  return chosen != nullptr && *chosen != '\0' ? chosen : "/usr/share/zoneinfo";
}

}  // namespace

std::shared_ptr<const TimeZone> namedZone(const std::string& name) {
  constexpr std::uintmax_t kMostBytes = 1U << 20;  // the longest have some thousand
  if (name == "UTC") return std::make_shared<TableZone>(0);
  if (!isPlain(name)) return nullptr;
  const std::filesystem::path path = databaseFolder() / name;
  std::error_code failure;
  if (!std::filesystem::is_regular_file(path, failure)) return nullptr;
  std::string content(std::min(std::filesystem::file_size(path, failure), kMostBytes), '\0');
  std::ifstream file(path, std::ios::binary);
  file.read(content.data(), static_cast<std::streamsize>(content.size()));
  content.resize(static_cast<std::size_t>(file.gcount()));
  return zoneOfFile(content);
}

std::shared_ptr<const TimeZone> zoneOfFile(std::string_view content) {
  constexpr std::int64_t kLatest = std::int64_t{1} << 59;  // latest and, negated, earliest moment
  Bytes file(content);
  const Header old(file);
  if (!old.isHeader || old.version < '2') return nullptr;
  file.take(old.blockSize(4));
  const Header header(file);
  if (!header.isHeader || header.leaps != 0) return nullptr;

  Bytes moments(file.take(header.changes * 8));
  const std::string_view kinds = file.take(header.changes);
  const Bytes types(file.take(header.types * 6));
  file.take(header.letters + header.isStandard + header.isUt);
  const bool hasRule = file.take(1) == "\n";
  const std::string_view rule = file.line();
  if (!file.fits() || !hasRule || header.types == 0) return nullptr;

  const auto offsets = offsetsOf(types, header.types);
  if (!offsets) return nullptr;
  auto zone = std::make_shared<TableZone>(offsets->front());
  std::int64_t last = -kLatest - 1;
  for (const char kind : kinds) {
    const auto moment = static_cast<std::int64_t>(moments.number(8));
    const auto type = static_cast<unsigned char>(kind);
    if (moment <= last || moment > kLatest || type >= offsets->size()) return nullptr;
    zone->add({moment, offsets->at(type)});
    last = moment;
  }
  if (rule.empty()) return zone;
  const auto changes = changesByRule(rule);
  if (!changes) return nullptr;
  zone->follow(*changes, last);
  return zone;
}

}  // namespace corvo::corvo_internal::zones
