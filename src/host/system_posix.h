#pragma once

#include <filesystem>

// What the systems that keep to POSIX have in common, for their own files.

namespace corvo::corvo_internal::host {

/// The folder that a variable names; relative ones do not count (XDG Base Directory Specification).
[[nodiscard]] std::filesystem::path folderIn(const char* variable);

}  // namespace corvo::corvo_internal::host
