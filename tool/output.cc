// SPDX-License-Identifier: Apache-2.0

#include "tool/output.h"

#include <corvo/json_value.h>

#include <algorithm>
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
    if (count < 0) failToWrite("to standard output");
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
  failToWrite(name);
}

void failToWrite(const std::string& name) {
  throw Failure("cannot-write",
                "cannot write " + name + ": " + std::generic_category().message(errno));
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
