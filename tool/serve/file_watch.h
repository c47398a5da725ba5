// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "tool/serve/publisher.h"
#include "tool/serve/served_project.h"

namespace corvo::tool {

/// Keeps the project of two files published. For one thread. Refers to its arguments.
class FileWatch {
 public:
  using Clock = Publication::Clock;

  /// Between two looks.
  static constexpr std::chrono::milliseconds kInterval{100};

  FileWatch(ServedProject& project, Publisher& publisher)
      : project_(project), publisher_(publisher) {}

  /// Looks at the files, and publishes an edit. A project that may not be evaluated replaces one
  /// that may only if every look within a second finds one: a file may be half written.
  void look(Clock::time_point now);

 private:
  /// What changes if a file does.
  struct Mark {
    std::uintmax_t size = 0;
    std::uintmax_t number = 0;  // of its inode
    std::int64_t written = 0;
    std::int64_t changed = 0;

    bool operator==(const Mark&) const = default;
  };
  static Mark markOf(const std::string& path);
  [[nodiscard]] bool mayHaveChanged(Clock::time_point now);

  ServedProject& project_;
  Publisher& publisher_;
  std::array<Mark, 2> marks_;
  Clock::time_point marked_ = Clock::time_point::min();  // when they last changed
  std::shared_ptr<const Snapshot> offered_;
  std::optional<Clock::time_point> refusedSince_;  // since when no look found a usable project
};

}  // namespace corvo::tool
