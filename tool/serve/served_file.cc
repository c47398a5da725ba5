// SPDX-License-Identifier: Apache-2.0

#include "tool/serve/served_file.h"

#include <iostream>

#include "tool/failure.h"
#include "tool/input.h"

namespace corvo::tool {

std::optional<std::string> ServedFile::peek() const {
  if (path_.empty()) return "{}";
  try {
    return readInput(path_);
  } catch (const Failure&) {
    return std::nullopt;
  }
}

void ServedFile::report(const std::optional<std::string>& content) {
  const std::lock_guard lock(mutex_);
  if (path_.empty() || !content || checked_ == content) return;
  if (const auto fault = faultOf({kind_, path_, *content})) std::cerr << *fault + "\n";
  checked_ = content;
}

std::optional<std::string> ServedFile::read() {
  std::optional<std::string> content = peek();
  report(content);
  return content;
}

}  // namespace corvo::tool
