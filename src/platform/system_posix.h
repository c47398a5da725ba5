// SPDX-License-Identifier: Apache-2.0
#pragma once

// The parts that differ between POSIX systems.

namespace corvo::corvo_internal::platform {

/// The address of the pointer to the environment's entries, which stays valid after every change of
/// the environment. The last entry is null; the pointer itself may be null.
[[nodiscard]] char** const* environmentPlace() noexcept;

}  // namespace corvo::corvo_internal::platform
