// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sys/types.h>

#include <cstdio>
#include <string>

namespace corvo::tool {

/// The result of a command.
struct Ran {
  int status = 0;
  std::string out;
  std::string err;
};

/// Runs a shell command, which finds `corvo` in its path, in a folder.
Ran run(const std::string& command, const std::string& folder = ".");

/// Runs `corvo` with the arguments, written as for the shell.
Ran runCorvo(const std::string& arguments, const std::string& folder = ".");

/// Whether a backend may miss a signal. GCC's thread sanitizer loses some of those that come from
/// another process, even in a program of a few lines. Those that a process sends itself arrive.
#ifdef __SANITIZE_THREAD__
inline constexpr bool kLosesSignals = true;
#else
inline constexpr bool kLosesSignals = false;
#endif

/// `corvo serve` on a free port, from construction until it is stopped or destroyed.
class Backend {
 public:
  explicit Backend(const std::string& arguments);
  Backend(const Backend&) = delete;
  Backend& operator=(const Backend&) = delete;
  ~Backend();

  [[nodiscard]] const std::string& url() const { return url_; }
  [[nodiscard]] int port() const;

  /// The next line that it prints, after the one with its address.
  std::string nextLine();

  void signal(int signal) const;
  /// Ends it with the signal, or waits for its end if that is 0, and returns its exit status.
  int stop(int signal);

 private:
  FILE* output_;
  pid_t process_ = 0;
  std::string url_;
};

}  // namespace corvo::tool
