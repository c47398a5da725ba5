// SPDX-License-Identifier: Apache-2.0

#include <sys/random.h>
#include <sys/utsname.h>

#include <cerrno>
#include <system_error>

#include "host/system.h"
#include "host/system_posix.h"

namespace corvo::corvo_internal::host {

void fillAtRandom(std::span<std::byte> bytes) {
  while (!bytes.empty()) {
    const ssize_t filled = ::getrandom(bytes.data(), bytes.size(), 0);
    if (filled >= 0) {
      bytes = bytes.subspan(static_cast<std::size_t>(filled));
    } else if (errno != EINTR) {
      throw std::system_error(errno, std::generic_category(), "getrandom");
    }
  }
}

std::filesystem::path userFolder() {
  const std::filesystem::path home = folderIn("HOME");
  std::filesystem::path data = folderIn("XDG_DATA_HOME");
  if (!data.empty() || home.empty()) return data;
  return home / ".local" / "share";
}

std::filesystem::path programName() { return program_invocation_short_name; }

SystemVersion describeSystem() {
  utsname system{};
  if (uname(&system) != 0) return {};
  return {system.sysname, system.release};
}

}  // namespace corvo::corvo_internal::host
