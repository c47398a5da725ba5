// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <cstddef>

namespace corvo::tool {

/// Shows the progress of long work in one line on standard error. Only shown if standard error is a
/// terminal, standard output is not, and the work takes longer than a second.
class Progress {
 public:
  explicit Progress(const char* things);
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;
  ~Progress();  ///< Removes the line.

  void advance(std::size_t count);

 private:
  using Clock = std::chrono::steady_clock;

  const char* things_;  // the unit of the count
  bool isWanted_;
  bool isShown_ = false;
  Clock::time_point next_ = Clock::now() + std::chrono::seconds(1);
  std::size_t count_ = 0;
};

}  // namespace corvo::tool
