// SPDX-License-Identifier: Apache-2.0

#include <corvo/host.h>

#include <filesystem>
#include <string>
#include <system_error>

#include "host/system.h"

namespace corvo {

using namespace corvo_internal;

namespace {

using std::filesystem::path;

/// A program may be started under any name.
bool isFolderName(const path& name) {
  return name.has_filename() && name == name.filename() && name != "." && name != "..";
}

}  // namespace

std::string HostOptions::defaultDataFolder() try {
  const path folder = host::userFolder();
  const path name = host::programName();
  if (folder.empty()) return {};
  const std::u8string text = (folder / (isFolderName(name) ? name : path("corvo"))).u8string();
  return {text.begin(), text.end()};
} catch (const std::system_error&) {  // on Windows, a name that is not valid Unicode
  return {};
}

}  // namespace corvo
