// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace corvo::corvo_internal::base {

/// Aborts the process because of a fault that must not continue: prints one line on standard error,
/// then calls `abort`.
[[noreturn]] void stopProcess(const char* reason) noexcept;

}  // namespace corvo::corvo_internal::base
