// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <filesystem>

// Functions shared by the files of the POSIX systems.

namespace corvo::corvo_internal::host {

/// The folder that an environment variable names. Relative paths are ignored (XDG Base Directory
/// Specification).
[[nodiscard]] std::filesystem::path folderIn(const char* variable);

}  // namespace corvo::corvo_internal::host
