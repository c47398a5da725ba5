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

/// For whoever writes a file, before it is taken at its word that nothing may be evaluated.
constexpr std::chrono::seconds kPatience{1};

}  // namespace

void FileWatch::look(Clock::time_point now) {
  const bool isSettled = !mayHaveChanged(now) && !refusedSince_;
  if (offered_ && isSettled) return publisher_.offer(*offered_, now);
  const auto snapshot = project_.peek();
  const bool isEdit = snapshot != offered_;
  if (offered_ && isEdit && offered_->refusal.empty() && !snapshot->refusal.empty()) {
    if (!refusedSince_) refusedSince_ = now;
    if (now < *refusedSince_ + kPatience) return;
  }
  refusedSince_.reset();
  if (isEdit) static_cast<void>(project_.now());  // reports faults
  offered_ = snapshot;
  publisher_.offer(*offered_, now);
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
