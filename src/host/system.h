#pragma once

#include <cstddef>
#include <filesystem>
#include <span>
#include <string>

// What every system does in its own way. The file of each is chosen when the library is built.

namespace corvo::corvo_internal::host {

/// Fills the bytes from the system's secure source. Throws `std::system_error` when it fails.
void fillAtRandom(std::span<std::byte> bytes);

/// The folder where applications keep the user's data; empty when there is none.
[[nodiscard]] std::filesystem::path userFolder();

/// The name of the running program's file, which may be anything.
[[nodiscard]] std::filesystem::path programName();

/// A system's name and its version, perhaps with remarks behind it; empty where unknown.
struct SystemVersion {
  std::string name;
  std::string version;
};
[[nodiscard]] SystemVersion describeSystem();

/// Makes a file unless it exists, for its owner's eyes only. An existing one is not even opened.
void makePrivateFile(const std::filesystem::path& file) noexcept;

/// Whether a file that this process has open can get another name.
[[nodiscard]] bool canRenameOpenFiles() noexcept;

/// What became of the signal SIGPIPE for this thread.
enum class Sigpipe { kUntouched, kBlocked, kBlockedBefore };

/// Blocks the signal. It stays untouched where one is pending, and where there is no such signal.
[[nodiscard]] Sigpipe blockSigpipe() noexcept;
/// Takes the signal if one came meanwhile, and lets it through again unless it was blocked before.
void releaseSigpipe(Sigpipe sigpipe) noexcept;

}  // namespace corvo::corvo_internal::host
