// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <chrono>
#include <cstdint>
#include <memory>
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

  /// After so long, a project that may not be evaluated replaces one that may: a file may be half
  /// written.
  static constexpr std::chrono::milliseconds kPatience{500};

  FileWatch(ServedProject& project, Publisher& publisher)
      : project_(project), publisher_(publisher) {}

  /// Looks at the files, and publishes an edit.
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
  [[nodiscard]] bool mayBeHalfWritten(const std::shared_ptr<const Snapshot>& snapshot,
                                      Clock::time_point now);

  ServedProject& project_;
  Publisher& publisher_;
  std::array<Mark, 2> marks_;
  Clock::time_point marked_ = Clock::time_point::min();  // when they last changed
  std::shared_ptr<const Snapshot> offered_;
  std::shared_ptr<const Snapshot> suspect_;  // may not be evaluated, and may be half written
  Clock::time_point suspected_;              // since when
};

}  // namespace corvo::tool
