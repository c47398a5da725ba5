// SPDX-License-Identifier: Apache-2.0

#include "tool/progress.h"

#include <cstdio>
#include <string>

#include "tool/terminal.h"

namespace corvo::tool {

Progress::Progress(const char* things)
    : things_(things), isWanted_(isTerminal(stderr) && !isTerminal(stdout)) {}

void Progress::advance(std::size_t count) {
  count_ += count;
  if (!isWanted_ || Clock::now() < next_) return;
  next_ = Clock::now() + std::chrono::milliseconds(200);
  isShown_ = true;
  showInPlace(std::to_string(count_) + " " + things_);
}

Progress::~Progress() {
  if (isShown_) showInPlace("");
}

}  // namespace corvo::tool
