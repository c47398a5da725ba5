// SPDX-License-Identifier: Apache-2.0

#include <sys/sysctl.h>

#include <cstdlib>

#include "host/system.h"
#include "host/system_posix.h"

namespace corvo::corvo_internal::host {

void fillAtRandom(std::span<std::byte> bytes) { ::arc4random_buf(bytes.data(), bytes.size()); }

std::filesystem::path userFolder() {
  const std::filesystem::path home = folderIn("HOME");
  return home.empty() ? home : home / "Library" / "Application Support";
}

std::filesystem::path programName() { return getprogname(); }

SystemVersion describeSystem() {
  char version[64] = "";
  std::size_t size = sizeof version - 1;
  if (sysctlbyname("kern.osproductversion", version, &size, nullptr, 0) != 0) version[0] = '\0';
  return {"macOS", version};
}

}  // namespace corvo::corvo_internal::host
