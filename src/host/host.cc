#include <corvo/host.h>

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

Host makeHost(HostOptions options) {
  const host::TransferLimits limits{options.timeoutSeconds, options.maxBodyBytes};
  std::optional<std::filesystem::path> folder;
  std::error_code unknown;
  if (!options.inMemory) folder = std::move(options.dataFolder);
  if (folder && !folder->empty()) folder = std::filesystem::absolute(*folder, unknown);

  const auto loop = std::make_shared<host::HostLoopImpl>(limits);
  const auto database = std::make_shared<host::LazyDatabase>(std::move(folder));
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
