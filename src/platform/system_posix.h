#pragma once

// What the systems that keep to POSIX still do each in its own way.

namespace corvo::corvo_internal::platform {

/// Where the environment's list of entries is found, now and after every change of it. The last
/// entry is null; so may be the list.
[[nodiscard]] char** const* environmentPlace() noexcept;

}  // namespace corvo::corvo_internal::platform
