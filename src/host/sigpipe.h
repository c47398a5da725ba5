// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "host/system.h"

namespace corvo::corvo_internal::host {

/// While it lives, writes of this thread to a closed connection do not raise SIGPIPE, which a
/// server could otherwise use to end the process, because TLS libraries do not suppress it. The
/// signal is blocked, not ignored, because ignoring would affect the whole process. A signal that
/// was already pending stays pending.
class SigpipeBlocker {
 public:
  SigpipeBlocker() noexcept : sigpipe_(blockSigpipe()) {}
  SigpipeBlocker(const SigpipeBlocker&) = delete;
  SigpipeBlocker& operator=(const SigpipeBlocker&) = delete;
  ~SigpipeBlocker() { releaseSigpipe(sigpipe_); }

 private:
  const Sigpipe sigpipe_;
};

}  // namespace corvo::corvo_internal::host
