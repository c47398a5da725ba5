// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <filesystem>
#include <string_view>

#include "host/sqlite.h"

namespace corvo::corvo_internal::host {

/// The kind of file found at the place of an application's database. An empty file counts as ours.
enum class Find { kForeign, kDamaged, kOurs };

/// The kind of file that a connection has opened. Changes nothing, and does not wait for locks.
/// Throws a `std::exception` if the file cannot be read at present.
[[nodiscard]] Find lookAt(const std::filesystem::path& file, const Connection& connection);

/// Whether the header of an open file identifies it as ours. Read without a lock.
[[nodiscard]] bool isStamped(const Connection& connection);

/// Creates the missing parts of our database and configures the connection for it. Throws
/// `SqliteError` for damage, and with `SQLITE_CANTOPEN` if the file turns out not to be ours.
void prepare(Connection& connection);

/// A file next to another, with a suffix added to its name, as SQLite names its companion files.
[[nodiscard]] std::filesystem::path companion(const std::filesystem::path& file,
                                              std::string_view ending);

}  // namespace corvo::corvo_internal::host
