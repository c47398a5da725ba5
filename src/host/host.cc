#include <corvo/host.h>

#include <filesystem>
#include <memory>
#include <utility>

#include "host/database_preferences_store.h"
#include "host/host_device.h"
#include "host/host_loop_impl.h"
#include "host/memory_database.h"
#include "host/sqlite_database.h"
#include "host/system_random.h"
#include "platform/system.h"

namespace corvo {

using namespace corvo_internal;

namespace {

/// Null when the options name no file. The file's name is made absolute now, since the program may
/// change its folder before the file is needed.
std::shared_ptr<host::Database> databaseOf(const HostOptions& options) {
  if (options.inMemory) return std::make_shared<host::MemoryDatabase>();
  const std::filesystem::path& folder = options.dataFolder;
  const std::filesystem::path usual = folder.empty() ? folder : folder / "corvo.db";
  return host::SqliteDatabase::inFile(options.dataFile.value_or(usual));
}

}  // namespace

Host makeHost(HostOptions options) {
  const host::TransferLimits limits{options.timeoutSeconds, options.transferSeconds,
                                    options.maxBodyBytes};
  const auto loop = std::make_shared<host::HostLoopImpl>(limits);
  const std::shared_ptr<host::Database> database = databaseOf(options);
  const auto random = std::make_shared<host::SystemRandom>();
  return {loop,
          {.clock = platform::systemClock(),
           .timeZone = platform::systemTimeZone(),
           .mainQueue = loop,
           .urlSession = std::make_shared<host::CurlSession>(loop),
           .preferencesStore = std::make_shared<host::DatabasePreferencesStore>(database),
           .device = std::make_shared<host::HostDevice>(database, random,
                                                        std::move(options.applicationVersion)),
           .secureRandom = random}};
}

Platform hostPlatform(HostOptions options) { return makeHost(std::move(options)).platform; }

}  // namespace corvo
