#pragma once

#include <corvo/platform/time_zone.h>

#include <memory>
#include <string>
#include <string_view>

namespace corvo::corvo_internal::zones {

/// A zone of the system's time zone database, by its IANA name ("Europe/Berlin"): of the folder
/// that the variable TZDIR names, else of /usr/share/zoneinfo. "UTC" needs no database.
///
/// Null when there is no such zone, when the name leads out of the folder, or when the file is
/// damaged, is older than version 2 of TZif (RFC 8536), or counts leap seconds. The zone never
/// changes and any number of threads may ask it; a new call reads the file again.
[[nodiscard]] std::shared_ptr<const TimeZone> namedZone(const std::string& name);

/// The zone that the content of such a file describes, or null.
[[nodiscard]] std::shared_ptr<const TimeZone> zoneOfFile(std::string_view content);

}  // namespace corvo::corvo_internal::zones
