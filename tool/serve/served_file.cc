// SPDX-License-Identifier: Apache-2.0

#include "tool/serve/served_file.h"

#include <iostream>

#include "tool/failure.h"
#include "tool/input.h"

namespace corvo::tool {

std::optional<std::string> ServedFile::read() {
  if (path_.empty()) return "{}";
  const std::lock_guard lock(mutex_);
  std::string content;
  try {
    content = readInput(path_);
  } catch (const Failure&) {
    return std::nullopt;
  }
  if (checked_ != content) {
    if (const auto fault = faultOf({kind_, path_, content})) std::cerr << *fault + "\n";
    checked_ = content;
  }
  return content;
}

}  // namespace corvo::tool
