#pragma once

#include <filesystem>

#include "host/patience.h"
#include "host/sqlite.h"

namespace corvo::corvo_internal::host {

/// Opens an application's database, made with its folder when it is missing. A damaged one is set
/// aside, and a new one begun. Throws a `std::exception` when it cannot be opened just now, was
/// written by a later version, or is somebody else's: such a file is not touched.
[[nodiscard]] Connection openDatabaseFile(const std::filesystem::path& file, Patience& patience);

/// Gives a file that a connection found damaged, and its companions, names of their own:
/// "NAME.damaged-1" or the next number. Leaves it when its header does not say that it is ours,
/// when anybody else has it open, when twenty lie there already, or when it has to be looked at
/// again and is sound, now that nobody writes. Whether it was set aside.
bool setAside(Connection damaged, const std::filesystem::path& file,
              bool lookAgain = false) noexcept;

}  // namespace corvo::corvo_internal::host
