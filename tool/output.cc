#include "tool/output.h"

#include <corvo/json_value.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <iostream>
#include <string>
#include <system_error>

#include "tool/failure.h"

#ifndef _WIN32
#include <fcntl.h>
#include <unistd.h>
#endif

namespace corvo::tool {
namespace {

bool areFailuresInJson = false;  // set once, before there are other threads

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
  throw Failure("cannot-write",
                "cannot write to standard output: " + std::generic_category().message(errno));
}

void sayFailuresInJson() { areFailuresInJson = true; }

void sayFailure(const std::string& code, const std::string& message) {
  if (!areFailuresInJson) {
    std::cerr << message + "\n";
    return;
  }
  const JsonObject error{{"code", code}, {"message", message}};
  std::cerr << JsonValue(JsonObject{{"error", error}}).toJson() + "\n";
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
    sayFailure(failure.code(), failure.what());
  } catch (const std::exception& error) {
    sayFailure("failed", error.what());
  }
  return kFailed;
}

}  // namespace corvo::tool
