#include <corvo/host.h>

#include <filesystem>

#include "host/system.h"

namespace corvo {

using namespace corvo_internal;

namespace {

using std::filesystem::path;

/// Whoever starts a program may call it anything.
bool isFolderName(const path& name) {
  return name.has_filename() && name == name.filename() && name != "." && name != "..";
}

}  // namespace

path HostOptions::defaultDataFolder() {
  const path folder = host::userFolder();
  const path name = host::programName();
  if (folder.empty()) return {};
  return folder / (isFolderName(name) ? name : path("corvo"));
}

}  // namespace corvo
