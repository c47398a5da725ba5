// SPDX-License-Identifier: Apache-2.0

#include "tool/input.h"

#include <array>
#include <cerrno>
#include <system_error>

#include "tool/failure.h"

namespace corvo::tool {
namespace {

[[noreturn]] void fail(const std::string& name) {
  throw Failure("cannot-read",
                "cannot read " + name + ": " + std::generic_category().message(errno));
}

std::string readAll(std::FILE* file, const std::string& name) {
  std::string text;
  std::array<char, 65536> part;
  errno = 0;
  while (const std::size_t size = std::fread(part.data(), 1, part.size(), file)) {
    text.append(part.data(), size);
  }
  if (std::ferror(file) != 0) fail(name);
  return text;
}

}  // namespace

std::string shownName(const std::string& name) { return name == kStandardInput ? "<stdin>" : name; }

std::string complainAboutName(const std::string& name) {
  return name.empty() ? "needs a file name" : "";
}

File openInput(const std::string& name) {
  File file(std::fopen(name.c_str(), "rb"));
  if (!file) fail(name);
  return file;
}

std::string readInput(const std::string& name) {
  if (name == kStandardInput) return readAll(stdin, shownName(name));
  return readAll(openInput(name).get(), name);
}

}  // namespace corvo::tool
