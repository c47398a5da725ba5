#pragma once

#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>

namespace corvo::tool {

/// Tells people what a command waits for, in one line of the standard error: where that is a
/// terminal, and the wait takes longer than a second.
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
  std::thread thread_;   // where nobody looks there is none
};

}  // namespace corvo::tool
