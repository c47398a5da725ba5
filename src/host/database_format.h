#pragma once

#include <filesystem>
#include <string_view>

#include "host/sqlite.h"

namespace corvo::corvo_internal::host {

/// What lies where an application's database belongs. An empty file is ours, too.
enum class Find { kForeign, kDamaged, kOurs };

/// What kind of file it is that a connection has opened. Changes nothing, and waits for nobody.
/// Throws a `std::exception` when it cannot be read just now.
[[nodiscard]] Find lookAt(const std::filesystem::path& file, const Connection& connection);

/// Whether the header of an open file says that it is ours. Read without a lock.
[[nodiscard]] bool isStamped(const Connection& connection);

/// Makes what a database of ours has, as far as it is missing, and sets the connection up for it.
/// Throws `SqliteError`: damage, or `SQLITE_CANTOPEN` where the file is somebody else's after all.
void prepare(Connection& connection);

/// A file that is named after another, as SQLite names what it keeps beside a database.
[[nodiscard]] std::filesystem::path companion(const std::filesystem::path& file,
                                              std::string_view ending);

}  // namespace corvo::corvo_internal::host
