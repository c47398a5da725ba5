#pragma once

namespace corvo::corvo_internal::base {

/// Ends the process for a fault that must not go on: one line on standard error, then abort.
[[noreturn]] void stopProcess(const char* reason) noexcept;

}  // namespace corvo::corvo_internal::base
