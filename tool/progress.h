#pragma once

#include <chrono>
#include <cstddef>

namespace corvo::tool {

/// Tells people how far a long work has come, in one line of the standard error: where that is a
/// terminal, the standard output is none, and the work takes longer than a second.
class Progress {
 public:
  explicit Progress(const char* things);
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;
  ~Progress();  ///< Removes the line.

  void advance(std::size_t count);

 private:
  using Clock = std::chrono::steady_clock;

  const char* things_;  // what is counted
  bool isWanted_;
  bool isShown_ = false;
  Clock::time_point next_ = Clock::now() + std::chrono::seconds(1);
  std::size_t count_ = 0;
};

}  // namespace corvo::tool
