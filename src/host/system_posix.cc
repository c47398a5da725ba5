// SPDX-License-Identifier: Apache-2.0

#include "host/system_posix.h"

#include <fcntl.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>

#include "host/system.h"

namespace corvo::corvo_internal::host {
namespace {

bool isPending(int signal) noexcept {
  sigset_t pending{};
  return sigpending(&pending) == 0 && sigismember(&pending, signal) == 1;
}

sigset_t onlySigpipe() noexcept {
  sigset_t signals{};
  sigemptyset(&signals);
  sigaddset(&signals, SIGPIPE);
  return signals;
}

}  // namespace

std::filesystem::path folderIn(const char* variable) {
  const char* const text = std::getenv(variable);
  const std::filesystem::path folder = text == nullptr ? "" : text;
  return folder.is_absolute() ? folder : std::filesystem::path();
}

void makePrivateFile(const std::filesystem::path& file) noexcept {
  const int made = ::open(file.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
  if (made >= 0) ::close(made);
}

bool canRenameOpenFiles() noexcept { return true; }

Sigpipe blockSigpipe() noexcept {
  const sigset_t sigpipe = onlySigpipe();
  sigset_t before{};
  if (isPending(SIGPIPE) || pthread_sigmask(SIG_BLOCK, &sigpipe, &before) != 0) {
    return Sigpipe::kUntouched;
  }
  return sigismember(&before, SIGPIPE) == 1 ? Sigpipe::kBlockedBefore : Sigpipe::kBlocked;
}

void releaseSigpipe(Sigpipe sigpipe) noexcept {
  if (sigpipe == Sigpipe::kUntouched) return;
  const sigset_t signals = onlySigpipe();
  int taken = 0;
  if (isPending(SIGPIPE)) sigwait(&signals, &taken);
  if (sigpipe == Sigpipe::kBlocked) pthread_sigmask(SIG_UNBLOCK, &signals, nullptr);
}

}  // namespace corvo::corvo_internal::host
