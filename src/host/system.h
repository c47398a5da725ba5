// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <filesystem>
#include <span>
#include <string>

// The parts that differ between systems. The build selects the file for the target system.

namespace corvo::corvo_internal::host {

/// Fills the bytes from the system's secure source. Throws `std::system_error` if that fails.
void fillAtRandom(std::span<std::byte> bytes);

/// The folder for the user's application data; empty if there is none.
[[nodiscard]] std::filesystem::path userFolder();

/// The name of the running program's file, which may be any text.
[[nodiscard]] std::filesystem::path programName();

/// A system's name and version, possibly with a suffix; empty if unknown.
struct SystemVersion {
  std::string name;
  std::string version;
};
[[nodiscard]] SystemVersion describeSystem();

/// Creates a file that only its owner may read, unless the file exists. An existing one is not even
/// opened.
void makePrivateFile(const std::filesystem::path& file) noexcept;

/// Whether a file that this process has open can be renamed.
[[nodiscard]] bool canRenameOpenFiles() noexcept;

/// The state of the signal SIGPIPE for this thread.
enum class Sigpipe { kUntouched, kBlocked, kBlockedBefore };

/// Blocks the signal. Leaves it untouched if one is pending, and on systems without the signal.
[[nodiscard]] Sigpipe blockSigpipe() noexcept;
/// Consumes a signal that was raised meanwhile. Unblocks the signal unless it was blocked before.
void releaseSigpipe(Sigpipe sigpipe) noexcept;

}  // namespace corvo::corvo_internal::host
