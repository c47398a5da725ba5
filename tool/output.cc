#include "tool/output.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <iostream>
#include <stdexcept>
#include <string>
#include <system_error>

#ifndef _WIN32
#include <fcntl.h>
#include <unistd.h>
#endif

namespace corvo::tool {
namespace {

constexpr int kFailed = 1;  // also stated in the help

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
  errno = 0;
  const bool written = std::fwrite(text.data(), 1, text.size(), stdout) == text.size();
  if (written && std::fflush(stdout) == 0) return;
  if (errno == EPIPE) throw ReaderGone();
  throw std::runtime_error("cannot write to standard output: " +
                           std::generic_category().message(errno));
}

int statusOfFailure() {
  try {
    throw;
  } catch (const ReaderGone&) {
#ifndef _WIN32
    std::signal(SIGPIPE, SIG_DFL);
    std::raise(SIGPIPE);
#endif
  } catch (const std::exception& error) {
    std::cerr << std::string(error.what()) + "\n";
  }
  return kFailed;
}

}  // namespace corvo::tool
