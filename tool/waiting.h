// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>

namespace corvo::tool {

/// Shows what a command is waiting for, in one line on standard error, if that is a terminal and
/// the wait takes longer than a second.
class Waiting {
 public:
  explicit Waiting(std::string what);
  Waiting(const Waiting&) = delete;
  Waiting& operator=(const Waiting&) = delete;
  ~Waiting();  ///< Removes the line.

 private:
  void tell();

  const std::string what_;
  std::mutex mutex_;
  std::condition_variable end_;
  bool isOver_ = false;  // guarded
  std::thread thread_;   // not started unless standard error is a terminal
};

}  // namespace corvo::tool
