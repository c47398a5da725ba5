#pragma once

#ifndef _WIN32
#include <csignal>
#endif

namespace corvo::host {

/// While it lives, no write of this thread to a closed connection raises SIGPIPE, by which a server
/// could end the process: TLS libraries write in a way that does. The signal is blocked, never
/// ignored, for that would hold for the whole process. One that was pending before stays so.
class WithoutSigpipe {
 public:
  WithoutSigpipe(const WithoutSigpipe&) = delete;
  WithoutSigpipe& operator=(const WithoutSigpipe&) = delete;
#ifdef _WIN32
  WithoutSigpipe() noexcept {}  // there is no such signal
#else
  WithoutSigpipe() noexcept {
    sigemptyset(&sigpipe_);
    sigaddset(&sigpipe_, SIGPIPE);
    isBlocked_ = !isPending() && pthread_sigmask(SIG_BLOCK, &sigpipe_, &before_) == 0;
  }
  ~WithoutSigpipe() {
    if (!isBlocked_) return;
    int taken = 0;
    if (isPending()) sigwait(&sigpipe_, &taken);
    pthread_sigmask(SIG_SETMASK, &before_, nullptr);
  }

 private:
  static bool isPending() noexcept {
    sigset_t pending{};
    return sigpending(&pending) == 0 && sigismember(&pending, SIGPIPE) == 1;
  }

  sigset_t sigpipe_{};
  sigset_t before_{};
  bool isBlocked_ = false;
#endif
};

}  // namespace corvo::host
