#include "host/system_random.h"

#include <cerrno>
#include <system_error>

#if defined(_WIN32)
#include <windows.h>
// after <windows.h>
#include <bcrypt.h>
#elif defined(__linux__)
#include <sys/random.h>
#else
#include <cstdlib>
#endif

namespace corvo::host {

void SystemRandom::fill(std::span<std::byte> bytes) {
#if defined(_WIN32)
  const NTSTATUS status =
      BCryptGenRandom(nullptr, reinterpret_cast<PUCHAR>(bytes.data()),
                      static_cast<ULONG>(bytes.size()), BCRYPT_USE_SYSTEM_PREFERRED_RNG);
  if (status != 0) throw std::system_error(status, std::system_category(), "BCryptGenRandom");
#elif defined(__linux__)
  while (!bytes.empty()) {
    const ssize_t filled = ::getrandom(bytes.data(), bytes.size(), 0);
    if (filled >= 0) {
      bytes = bytes.subspan(static_cast<std::size_t>(filled));
    } else if (errno != EINTR) {
      throw std::system_error(errno, std::generic_category(), "getrandom");
    }
  }
#else
  ::arc4random_buf(bytes.data(), bytes.size());
#endif
}

}  // namespace corvo::host
