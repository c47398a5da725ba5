#include <corvo/host.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <string>

#ifdef _WIN32
#include <windows.h>
#endif

namespace corvo {
namespace {

using std::filesystem::path;

#ifdef _WIN32

path userFolder() {
  const wchar_t* const local = _wgetenv(L"LOCALAPPDATA");
  return local == nullptr ? path() : path(local);
}

path programName() {
  wchar_t file[MAX_PATH] = L"";
  GetModuleFileNameW(nullptr, file, MAX_PATH);
  return path(file).stem();
}

#else

/// The folder that a variable names; relative ones do not count (XDG Base Directory Specification).
path folderIn(const char* variable) {
  const char* const text = std::getenv(variable);
  const path folder = text == nullptr ? path() : path(text);
  return folder.is_absolute() ? folder : path();
}

path userFolder() {
  const path home = folderIn("HOME");
#ifdef __APPLE__
  return home.empty() ? path() : home / "Library" / "Application Support";
#else
  path data = folderIn("XDG_DATA_HOME");
  if (!data.empty() || home.empty()) return data;
  return home / ".local" / "share";
#endif
}

path programName() {
#ifdef __linux__
  return program_invocation_short_name;
#else
  return getprogname();
#endif
}

#endif

/// Whoever starts a program may call it anything.
bool isFolderName(const path& name) {
  return name.has_filename() && name == name.filename() && name != "." && name != "..";
}

}  // namespace

path HostOptions::defaultDataFolder() {
  const path folder = userFolder();
  const path name = programName();
  if (folder.empty()) return {};
  return folder / (isFolderName(name) ? name : path("corvo"));
}

}  // namespace corvo
