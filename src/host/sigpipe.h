#pragma once

#include "host/system.h"

namespace corvo::corvo_internal::host {

/// While it lives, no write of this thread to a closed connection raises SIGPIPE, by which a server
/// could end the process: TLS libraries write in a way that does. The signal is blocked, never
/// ignored, for that would hold for the whole process. One that was pending before stays so.
class WithoutSigpipe {
 public:
  WithoutSigpipe() noexcept : sigpipe_(blockSigpipe()) {}
  WithoutSigpipe(const WithoutSigpipe&) = delete;
  WithoutSigpipe& operator=(const WithoutSigpipe&) = delete;
  ~WithoutSigpipe() { releaseSigpipe(sigpipe_); }

 private:
  const Sigpipe sigpipe_;
};

}  // namespace corvo::corvo_internal::host
