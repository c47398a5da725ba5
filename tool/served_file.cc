// SPDX-License-Identifier: Apache-2.0

#include "tool/served_file.h"

#include <fstream>
#include <iostream>
#include <iterator>

namespace corvo::tool {

std::optional<std::string> ServedFile::read() {
  if (path_.empty()) return "{}";
  const std::lock_guard lock(mutex_);
  std::ifstream file(path_, std::ios::binary);
  if (!file) return std::nullopt;
  std::string content(std::istreambuf_iterator<char>(file), {});
  if (checked_ != content) {
    if (const auto fault = faultOf({kind_, path_, content})) std::cerr << *fault + "\n";
    checked_ = content;
  }
  return content;
}

}  // namespace corvo::tool
