#include "host/host_device.h"

#include <array>
#include <cstddef>
#include <exception>
#include <string_view>

#ifdef _WIN32
#include <windows.h>
#else
#include <sys/utsname.h>
#ifdef __APPLE__
#include <sys/sysctl.h>
#endif
#endif

namespace corvo::host {
namespace {

/// A random UUID (RFC 9562, version 4) in upper-case canonical form.
std::string randomUuid(SecureRandom& random) {
  std::array<std::byte, 16> bytes{};
  random.fill(bytes);
  bytes[6] = (bytes[6] & std::byte{0x0F}) | std::byte{0x40};
  bytes[8] = (bytes[8] & std::byte{0x3F}) | std::byte{0x80};
  std::string text;
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    constexpr std::string_view kDigits = "0123456789ABCDEF";
    if (i == 4 || i == 6 || i == 8 || i == 10) text += '-';
    text += kDigits[std::to_integer<std::size_t>(bytes[i] >> 4)];
    text += kDigits[std::to_integer<std::size_t>(bytes[i] & std::byte{0x0F})];
  }
  return text;
}

struct System {
  std::string name;
  std::string version;
};

#if defined(_WIN32)

System describeSystem() {
  using GetVersion = LONG(WINAPI*)(OSVERSIONINFOW*);  // `GetVersionEx` would lie
  const auto get = reinterpret_cast<GetVersion>(
      reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "RtlGetVersion")));
  OSVERSIONINFOW info{};
  info.dwOSVersionInfoSize = sizeof info;
  if (get == nullptr || get(&info) != 0) return {"Windows", ""};
  return {"Windows", std::to_string(info.dwMajorVersion) + "." +
                         std::to_string(info.dwMinorVersion) + "." +
                         std::to_string(info.dwBuildNumber)};
}

#elif defined(__APPLE__)

System describeSystem() {
  char version[64] = "";
  std::size_t size = sizeof version - 1;
  if (sysctlbyname("kern.osproductversion", version, &size, nullptr, 0) != 0) version[0] = '\0';
  return {"macOS", version};
}

#else

System describeSystem() {
  utsname system{};
  if (uname(&system) != 0) return {};
  return {system.sysname, system.release};
}

#endif

/// The leading numbers joined by dots: a Linux release goes on with the distribution's remarks.
std::string numericPart(std::string_view version) {
  version = version.substr(0, version.find_first_not_of("0123456789."));
  while (version.ends_with('.')) version.remove_suffix(1);
  return std::string(version);
}

std::optional<std::string> unlessEmpty(std::string text) {
  if (text.empty()) return std::nullopt;
  return text;
}

}  // namespace

std::optional<std::string> HostDevice::vendorIdentifier() const try {
  const std::shared_ptr<Database> database = database_->get();
  if (database == nullptr) return std::nullopt;
  return database->installation(randomUuid(*random_));
} catch (const std::exception&) {
  return std::nullopt;  // no random bytes, no identifier
}

std::optional<std::string> HostDevice::systemName() const {
  return unlessEmpty(describeSystem().name);
}

std::optional<std::string> HostDevice::systemVersion() const {
  return unlessEmpty(numericPart(describeSystem().version));
}

}  // namespace corvo::host
