// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvo/platform/time_zone.h>

#include <memory>
#include <string>
#include <string_view>

namespace corvo::corvo_internal::zones {

/// A zone of the system's time zone database, by its IANA name ("Europe/Berlin"). The database is
/// in the folder in the variable TZDIR, or else in /usr/share/zoneinfo. "UTC" needs no database.
///
/// Null if there is no such zone, or the name leads out of the folder. Also null if the file is
/// damaged, older than version 2 of TZif (RFC 8536), or counts leap seconds. The zone is immutable
/// and thread-safe. Each call reads the file again.
[[nodiscard]] std::shared_ptr<const TimeZone> namedZone(const std::string& name);

/// The zone described by the content of such a file, or null.
[[nodiscard]] std::shared_ptr<const TimeZone> zoneOfFile(std::string_view content);

}  // namespace corvo::corvo_internal::zones
