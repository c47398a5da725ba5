// SPDX-License-Identifier: Apache-2.0

#include "tool/output.h"

#include <corvo/json_value.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cerrno>
#include <csignal>
#include <cstddef>
#include <cstdio>
#include <iostream>
#include <string>
#include <system_error>

#include "tool/failure.h"
#include "tool/input.h"

#ifndef _WIN32
#include <fcntl.h>
#include <poll.h>
#include <unistd.h>
#endif

namespace corvo::tool {
namespace {

bool areFailuresInJson = false;  // set once, before other threads start

#ifdef _WIN32

std::ptrdiff_t writeSome(std::string_view text) {
  errno = 0;
  const std::size_t count = std::fwrite(text.data(), 1, text.size(), stdout);
  return count == text.size() && std::fflush(stdout) == 0 ? static_cast<std::ptrdiff_t>(count) : -1;
}

#else

// Waits even if the output is non-blocking.
std::ptrdiff_t writeSome(std::string_view text) {
  for (;;) {
    const std::ptrdiff_t count = ::write(STDOUT_FILENO, text.data(), text.size());
    if (count >= 0 || (errno != EINTR && errno != EAGAIN)) return count;
    pollfd output{STDOUT_FILENO, POLLOUT, 0};
    if (errno == EAGAIN) ::poll(&output, 1, -1);
  }
}

#endif

struct Character {
  char32_t code = 0;
  std::size_t size = 1;  // in bytes
};

/// The first character of a text; only its first byte if that is not UTF-8.
Character firstOf(std::string_view text) {
  const auto byte = [&](std::size_t at) { return static_cast<unsigned char>(text[at]); };
  const int ones = std::countl_one(byte(0));
  const auto size = static_cast<std::size_t>(ones);
  if (ones < 2 || ones > 4 || text.size() < size) return {byte(0)};
  char32_t code = byte(0) & (0x7FU >> size);
  for (std::size_t at = 1; at < size; ++at) {
    if ((byte(at) & 0xC0) != 0x80) return {byte(0)};
    code = code << 6 | (byte(at) & 0x3FU);
  }
  return {code, size};
}

/// Whether people see the character, and it does not control a terminal, end a line, or reorder the
/// text around it.
bool isShown(char32_t code) {
  struct Range {
    char32_t first;
    char32_t last;
  };
  static constexpr Range kActing[] = {{0, 0x1F},        {0x7F, 0x9F},     {0x61C, 0x61C},
                                      {0x200E, 0x200F}, {0x2028, 0x202E}, {0x2066, 0x2069}};
  return std::ranges::none_of(
      kActing, [&](const Range& range) { return code >= range.first && code <= range.last; });
}

std::string escaped(char32_t code) {
  if (code < 0x20) {  // JSON has shorter forms of some
    const std::string json = JsonValue(std::string(1, static_cast<char>(code))).toJson();
    return json.substr(1, json.size() - 2);
  }
  std::array<char, 12> text{};
  std::snprintf(text.data(), text.size(), "\\u%04x", static_cast<unsigned>(code));
  return text.data();
}

}  // namespace

void prepareStandardStreams() {
#ifndef _WIN32
  std::signal(SIGPIPE, SIG_IGN);
  int opened = -1;
  do opened = ::open("/dev/null", O_RDONLY);  // writing to it fails
  while (opened >= 0 && opened <= STDERR_FILENO);
  if (opened >= 0) ::close(opened);
#endif
}

void print(std::string_view text) {
  while (!text.empty()) {
    const std::ptrdiff_t count = writeSome(text);
    if (count < 0 && errno == EPIPE) throw ReaderGone();
    if (count < 0) {
      throw Failure("cannot-write",
                    "cannot write to standard output: " + std::generic_category().message(errno));
    }
    text.remove_prefix(static_cast<std::size_t>(count));
  }
}

void writeFile(const std::string& name, std::string_view text) {
  errno = 0;
  File file(std::fopen(name.c_str(), "wb"));
  if (file && std::fwrite(text.data(), 1, text.size(), file.get()) == text.size() &&
      std::fclose(file.release()) == 0) {
    return;
  }
  throw Failure("cannot-write",
                "cannot write " + name + ": " + std::generic_category().message(errno));
}

std::string counted(std::size_t count, const std::string& thing) {
  return std::to_string(count) + " " + thing + (count == 1 ? "" : "s");
}

std::string visible(std::string_view text) {
  std::string shown;
  while (!text.empty()) {
    const Character next = firstOf(text);
    shown += isShown(next.code) ? std::string(text.substr(0, next.size)) : escaped(next.code);
    text.remove_prefix(next.size);
  }
  return shown;
}

void printFailuresAsJson() { areFailuresInJson = true; }

void printFailure(const std::string& code, const std::string& message) {
  if (!areFailuresInJson) {
    for (std::size_t at = 0; at <= message.size();) {
      const std::size_t end = std::min(message.find('\n', at), message.size());
      std::cerr << visible(std::string_view(message).substr(at, end - at)) + "\n";
      at = end + 1;
    }
    return;
  }
  const JsonObject error{{"code", code}, {"message", message}};
  std::cerr << toJson(JsonObject{{"error", error}}) + "\n";
}

int statusOfFailure() {
  try {
    throw;
  } catch (const ReaderGone&) {
#ifndef _WIN32
    std::signal(SIGPIPE, SIG_DFL);
    std::raise(SIGPIPE);
#endif
  } catch (const Failure& failure) {
    printFailure(failure.code(), failure.what());
  } catch (const std::exception& error) {
    printFailure("failed", error.what());
  }
  return kFailed;
}

}  // namespace corvo::tool
