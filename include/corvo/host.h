// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvo/export.h>
#include <corvo/platform/platform.h>

#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace corvo {

/// The options of the ready-made platform.
struct HostOptions {
  /// The folder for records and for the identifier of this installation; created if it is missing.
  /// By default the program's own folder in the user's data folder. Each application needs a folder
  /// of its own. UTF-8; any bytes on systems whose paths are bytes.
  std::string dataFolder = defaultDataFolder();
  /// The path of the file that contains them, in the same encoding; file and folder are created if
  /// they are missing. By default "corvo.db" in the data folder. While the file is in use, there
  /// are files next to it with the same name and an added ending. If the file is not the library's,
  /// or was written by a later version, it is left unchanged and nothing is stored. If it is
  /// damaged, it is renamed, with ".damaged-" and a number after its name, and a new file is
  /// started.
  std::optional<std::string> dataFile = std::nullopt;
  /// Keeps everything in memory instead: each run is a new installation.
  bool inMemory = false;
  /// The application's version, as shown to its users.
  std::optional<std::string> applicationVersion = std::nullopt;
  /// How long a transfer may make no progress, in seconds. The shorter of this limit and the
  /// request's own counts. The library's requests have 60 seconds, so more has no effect on them. A
  /// transfer that exceeds this or the next limit fails; if a limit is zero, negative or NaN, it
  /// fails immediately.
  double timeoutSeconds = 60.0;
  /// How long a whole transfer may take, including redirects, in seconds. At most six transfers
  /// with the same scheme, host and port run at once. Waiting for a turn does not count
  /// towards this limit, but has a limit of the same length.
  double transferSeconds = 300.0;
  /// The largest accepted body, in bytes, both as sent and as decoded. A transfer with a larger
  /// body fails; so does one with more than 1 MiB of header lines.
  std::size_t maxBodyBytes = std::size_t{16} << 20;

  /// The program's name in $XDG_DATA_HOME or ~/.local/share (Linux), ~/Library/Application Support
  /// (macOS), %LOCALAPPDATA% (Windows). Empty if the user has no such folder; then nothing is
  /// stored.
  [[nodiscard]] CORVO_HOST_EXPORT static std::string defaultDataFolder();
};

/// The main queue of the ready-made platform, which also performs its network transfers: answers
/// arrive while the application runs it. It starts no thread of its own; libcurl may start one
/// while it looks up a host name. It is destroyed with its last `shared_ptr`.
///
/// Run it on one thread at a time, with `run`, `tick` or `runUntil` (which `Answer::get` calls); a
/// task may call each of them, too. The thread may change over time. If two threads run it at once,
/// even if one only waits, this is always detected and aborts the process with a message. `post`,
/// `stop`, `busy` and `onWork` may be called from any thread at any time. An exception that a task
/// throws propagates to the code that runs the loop; the other tasks stay queued.
///
/// `corvo/loops/` has adapters that run it from GLib's, Asio's or Qt's loop.
class CORVO_TYPE HostLoop : public MainQueue {
 public:
  /// Runs tasks and transfers, and waits for more, until `stop`.
  virtual void run() = 0;
  /// Makes one `run` return after its current task: the innermost one, or the next one if none is
  /// running.
  virtual void stop() = 0;

  /// Advances the transfers without waiting, then runs the tasks that are queued at that time, but
  /// not the tasks that these post. Call it once per frame, or from a timer while `busy`.
  virtual void tick() = 0;
  /// Whether a task is queued or a transfer is under way.
  [[nodiscard]] virtual bool busy() const = 0;

  /// Registers a function that is called when a task joins an empty queue or a transfer starts, on
  /// the thread that queued the work: the moment to schedule a `tick`. The function must not run
  /// the loop itself, and should not throw. It replaces the previous function; null removes it.
  virtual void onWork(std::function<void()> listener) = 0;
};

/// The ready-made platform, and the loop behind its main queue and its URL session.
struct Host {
  std::shared_ptr<HostLoop> loop;  ///< The application runs it.
  Platform platform;               ///< For `ClientRegistry` or `Corvo::usePlatform`.
};

/// A platform for Linux, macOS and Windows: the system's clock, zone and random source, HTTP and
/// HTTPS through the proxy that the environment names, preferences in one file. Does not open a
/// file or a connection yet. While the file cannot be used, nothing is stored, and there is no
/// vendor identifier; the library tries again later, for the last time when a client is released.
/// If another process has locked the file, the library waits for it, at most 100 milliseconds
/// within any second. Throws only `std::bad_alloc`.
[[nodiscard]] CORVO_HOST_EXPORT Host makeHost(HostOptions options = {});

/// The platform of `makeHost`. For applications that only block (`Answer::get`), or that use the
/// loop as the platform's main queue.
[[nodiscard]] CORVO_HOST_EXPORT Platform hostPlatform(HostOptions options = {});

}  // namespace corvo
