// SPDX-License-Identifier: Apache-2.0

#include <windows.h>

#include "host/system.h"
// after <windows.h>
#include <bcrypt.h>

#include <cstdio>
#include <cstdlib>
#include <system_error>

namespace corvo::corvo_internal::host {

void fillAtRandom(std::span<std::byte> bytes) {
  if (bytes.empty()) return;  // the system refuses a null address
  const NTSTATUS status =
      BCryptGenRandom(nullptr, reinterpret_cast<PUCHAR>(bytes.data()),
                      static_cast<ULONG>(bytes.size()), BCRYPT_USE_SYSTEM_PREFERRED_RNG);
  if (status != 0) throw std::system_error(status, std::system_category(), "BCryptGenRandom");
}

std::filesystem::path userFolder() {
  const wchar_t* const local = _wgetenv(L"LOCALAPPDATA");
  return local == nullptr ? std::filesystem::path() : std::filesystem::path(local);
}

std::filesystem::path programName() {
  wchar_t file[MAX_PATH] = L"";
  GetModuleFileNameW(nullptr, file, MAX_PATH);
  return std::filesystem::path(file).stem();
}

SystemVersion describeSystem() {
  using GetVersion = LONG(WINAPI*)(OSVERSIONINFOW*);  // `GetVersionEx` reports an emulated version
  const auto get = reinterpret_cast<GetVersion>(
      reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "RtlGetVersion")));
  OSVERSIONINFOW info{};
  info.dwOSVersionInfoSize = sizeof info;
  if (get == nullptr || get(&info) != 0) return {"Windows", ""};
  return {"Windows", std::to_string(info.dwMajorVersion) + "." +
                         std::to_string(info.dwMinorVersion) + "." +
                         std::to_string(info.dwBuildNumber)};
}

void makePrivateFile(const std::filesystem::path& file) noexcept {
  std::FILE* const made = _wfopen(file.c_str(), L"wbx");
  if (made != nullptr) std::fclose(made);
}

bool canRenameOpenFiles() noexcept { return false; }

Sigpipe blockSigpipe() noexcept { return Sigpipe::kUntouched; }

void releaseSigpipe(Sigpipe /*sigpipe*/) noexcept {}

}  // namespace corvo::corvo_internal::host
