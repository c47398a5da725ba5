// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <filesystem>

#include "host/sqlite.h"
#include "host/wait_budget.h"

namespace corvo::corvo_internal::host {

/// Opens an application's database and creates it, with its folder, if it is missing. A damaged one
/// is renamed, and a new one is created. Throws a `std::exception` if it cannot be opened at
/// present, was written by a later version, or belongs to another program; such a file is left
/// untouched.
[[nodiscard]] Connection openDatabaseFile(const std::filesystem::path& file,
                                          WaitBudget& waitBudget);

/// Renames a file that a connection found damaged, and its companion files, to "NAME.damaged-1" or
/// the next number. Returns whether it did. Leaves the file alone in four cases: its header does
/// not identify it as ours, another process has it open, there are already twenty renamed files, or
/// it has to be checked again and is intact, now that nobody writes.
bool setAside(Connection damaged, const std::filesystem::path& file,
              bool lookAgain = false) noexcept;

}  // namespace corvo::corvo_internal::host
