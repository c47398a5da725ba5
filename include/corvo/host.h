#pragma once

#include <corvo/export.h>
#include <corvo/platform/platform.h>

#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace corvo {

/// What the ready-made platform lets the application choose.
struct HostOptions {
  /// Where records and the identifier of this installation are kept; made when it is missing. By
  /// default the program's own folder in the user's data folder. One application has one folder.
  /// UTF-8; where the system's paths are bytes, any bytes.
  std::string dataFolder = defaultDataFolder();
  /// The file itself that they are kept in, a path likewise, made with its folder when it is
  /// missing. By default "corvo.db" in the data folder. While it is in use, files of its name and
  /// an ending lie beside it. A file that is not the library's, or is a later version's, is left as
  /// it is, and nothing is kept. A damaged one is renamed, with ".damaged-" and a number after its
  /// name, and a new one is begun.
  std::optional<std::string> dataFile = std::nullopt;
  /// Keeps everything in memory instead: a new run is a new installation.
  bool inMemory = false;
  /// The application's version, as its users know it.
  std::optional<std::string> applicationVersion = std::nullopt;
  /// How long a transfer may make no progress, in seconds: by default a minute. More than that has
  /// no effect, because the library's requests ask for a minute at most. Whatever takes longer than
  /// this or the next limit fails: at once where the limit is zero, negative or NaN.
  double timeoutSeconds = 60.0;
  /// How long a whole transfer may take, with its redirects, in seconds: by default five minutes.
  /// At most six transfers with the same scheme, host and port are under way at once; how long
  /// another one waits for its turn does not count, but is limited by the same number.
  double transferSeconds = 300.0;
  /// The largest body that is accepted, in bytes, both as it is sent and as it is decoded: by
  /// default 16 MiB. A larger one fails the transfer, as do header lines of more than 1 MiB in all.
  std::size_t maxBodyBytes = std::size_t{16} << 20;

  /// The program's name in $XDG_DATA_HOME or ~/.local/share (Linux), ~/Library/Application Support
  /// (macOS), %LOCALAPPDATA% (Windows). Empty, which keeps nothing, when the user has no such
  /// folder.
  [[nodiscard]] CORVO_HOST_EXPORT static std::string defaultDataFolder();
};

/// The main queue of the ready-made platform, which also carries its network transfers: answers
/// arrive while somebody runs it. It starts no thread and stops with the last one who shares it.
///
/// One thread at a time runs it, by `run`, `tick` or `runUntil` (which `Answer::get` calls); a task
/// may call each of them in turn. Another thread may run it later. Two that run it at once are
/// always noticed, also while one of them only waits, and stop the process with a message. `post`,
/// `stop`, `busy` and `onWork` may be called from any thread at any time. An exception that a task
/// throws leaves through whoever runs; the other tasks stay queued.
///
/// `corvo/loops/` has adapters that run it from GLib's, Asio's or Qt's loop.
class CORVO_TYPE HostLoop : public MainQueue {
 public:
  /// Runs tasks and transfers, and waits for more, until `stop`.
  virtual void run() = 0;
  /// Makes one `run` return after its present task: the innermost, or, when there is none, the
  /// next.
  virtual void stop() = 0;

  /// Moves the transfers on as far as they go without waiting and runs the tasks that are queued
  /// then, but not those that these post. For a frame or a timer, while `busy`.
  virtual void tick() = 0;
  /// Whether a task is queued or a transfer is under way.
  [[nodiscard]] virtual bool busy() const = 0;

  /// Has a function called, on the thread that made the work, whenever a first task is queued or a
  /// transfer starts: the moment to arrange for `tick`. It must not run the loop itself, and should
  /// not throw. Replaces the function given before; null for none.
  virtual void onWork(std::function<void()> told) = 0;
};

/// The ready-made platform, and the loop that its main queue and its URL session share.
struct Host {
  std::shared_ptr<HostLoop> loop;  ///< To be run by the application.
  Platform platform;               ///< For `ClientRegistry` or `Corvo::usePlatform`.
};

/// A platform for Linux, macOS and Windows: the system's clock, zone and random source, HTTP and
/// HTTPS by the proxy that the environment names, preferences in one file. Opens no file and no
/// connection yet. While the file cannot be used later, nothing is kept, and there is no vendor
/// identifier; it is tried again later, for the last time when a client is released. A file that
/// another process has locked is waited for, 100 milliseconds at most within any second. Throws
/// `std::bad_alloc` only.
[[nodiscard]] CORVO_HOST_EXPORT Host makeHost(HostOptions options = {});

/// The platform of `makeHost`, for an application that only ever blocks (`Answer::get`) or that
/// finds the loop as the platform's main queue.
[[nodiscard]] CORVO_HOST_EXPORT Platform hostPlatform(HostOptions options = {});

}  // namespace corvo
