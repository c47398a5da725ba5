// SPDX-License-Identifier: Apache-2.0

#include "tool/serve/file_watch.h"

#include <sys/stat.h>

#include <filesystem>
#include <system_error>
#include <utility>

namespace corvo::tool {
namespace {

/// File systems have clocks that tick slowly: an edit within this time after another one may leave
/// no mark.
constexpr std::chrono::seconds kTick{2};

}  // namespace

void FileWatch::look(Clock::time_point now) {
  const bool isSettled = !mayHaveChanged(now) && !suspect_;
  if (offered_ && isSettled) return publisher_.offer(*offered_, now);
  const auto snapshot = project_.peek();
  if (offered_ && mayBeHalfWritten(snapshot, now)) return;
  suspect_ = nullptr;
  if (snapshot != offered_) project_.report(*snapshot);
  offered_ = snapshot;
  publisher_.offer(*offered_, now);
}

bool FileWatch::mayBeHalfWritten(const std::shared_ptr<const Snapshot>& snapshot,
                                 Clock::time_point now) {
  if (snapshot == offered_ || snapshot->refusal.empty()) return false;
  if (std::exchange(suspect_, snapshot) != snapshot) suspected_ = now;
  return now < suspected_ + kPatience;
}

FileWatch::Mark FileWatch::markOf(const std::string& path) {
  struct stat status {};
  if (path.empty() || ::stat(path.c_str(), &status) != 0) return {};
  std::error_code error;
  const auto written = std::filesystem::last_write_time(path, error);
  return {static_cast<std::uintmax_t>(status.st_size), static_cast<std::uintmax_t>(status.st_ino),
          static_cast<std::int64_t>(written.time_since_epoch().count()),
          static_cast<std::int64_t>(status.st_ctime)};
}

bool FileWatch::mayHaveChanged(Clock::time_point now) {
  const std::array<Mark, 2> marks{markOf(project_.name()), markOf(project_.locationName())};
  if (marks != marks_) {
    marks_ = marks;
    marked_ = now;
  }
  return now < marked_ + kTick;
}

}  // namespace corvo::tool
