#include <corvo/host.h>

#include <filesystem>
#include <memory>
#include <optional>
#include <system_error>
#include <utility>

#include "host/host_device.h"
#include "host/host_loop_impl.h"
#include "host/sqlite_preferences_store.h"
#include "host/system_random.h"
#include "platform/system.h"

namespace corvo {
namespace {

/// The file that the options name, none for memory. Absolute, since the program may change its
/// folder before the file is needed; empty, which no file is, when they name none.
std::optional<std::filesystem::path> databaseFile(const HostOptions& options) {
  if (options.inMemory) return std::nullopt;
  const std::filesystem::path& folder = options.dataFolder;
  const std::filesystem::path usual = folder.empty() ? folder : folder / "corvo.db";
  const std::filesystem::path file = options.dataFile.value_or(usual);
  std::error_code unknown;
  return file.empty() ? file : std::filesystem::absolute(file, unknown);
}

}  // namespace

Host makeHost(HostOptions options) {
  const host::TransferLimits limits{options.timeoutSeconds, options.transferSeconds,
                                    options.maxBodyBytes};
  const auto loop = std::make_shared<host::HostLoopImpl>(limits);
  const auto database = std::make_shared<host::LazyDatabase>(databaseFile(options));
  const auto random = std::make_shared<host::SystemRandom>();
  return {loop,
          {.clock = platform::systemClock(),
           .timeZone = platform::systemTimeZone(),
           .mainQueue = loop,
           .urlSession = std::make_shared<host::CurlSession>(loop),
           .preferencesStore = std::make_shared<host::SqlitePreferencesStore>(database),
           .device = std::make_shared<host::HostDevice>(database, random,
                                                        std::move(options.applicationVersion)),
           .secureRandom = random}};
}

Platform hostPlatform(HostOptions options) { return makeHost(std::move(options)).platform; }

}  // namespace corvo
