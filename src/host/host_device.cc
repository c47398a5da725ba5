#include "host/host_device.h"

#include <exception>
#include <string_view>

#include "host/uuid.h"

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
  if (database_ == nullptr) return std::nullopt;
  return database_->installation(randomUuid(*random_));
} catch (const std::exception&) {
  return std::nullopt;  // no random bytes, or the database is out of reach for the moment
}

std::optional<std::string> HostDevice::systemName() const {
  return unlessEmpty(describeSystem().name);
}

std::optional<std::string> HostDevice::systemVersion() const {
  return unlessEmpty(numericPart(describeSystem().version));
}

}  // namespace corvo::host
