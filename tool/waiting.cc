// SPDX-License-Identifier: Apache-2.0

#include "tool/waiting.h"

#include <chrono>
#include <cstdio>
#include <utility>

#include "tool/terminal.h"

namespace corvo::tool {

Waiting::Waiting(std::string what) : what_(std::move(what)) {
  if (isTerminal(stderr)) thread_ = std::thread([this] { tell(); });
}

Waiting::~Waiting() {
  if (!thread_.joinable()) return;
  {
    const std::lock_guard lock(mutex_);
    isOver_ = true;
  }
  end_.notify_one();
  thread_.join();
}

void Waiting::tell() {
  std::unique_lock lock(mutex_);
  const auto isOver = [this] { return isOver_; };
  if (end_.wait_for(lock, std::chrono::seconds(1), isOver)) return;
  showInPlace("waiting for " + what_ + " ...");
  end_.wait(lock, isOver);
  showInPlace("");
}

}  // namespace corvo::tool
