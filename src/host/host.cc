// SPDX-License-Identifier: Apache-2.0

#include <corvo/host.h>

#include <filesystem>
#include <memory>
#include <string>
#include <type_traits>
#include <utility>

#include "base/text.h"
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

std::filesystem::path pathOf(const std::string& text) {
  if constexpr (std::is_same_v<std::filesystem::path::value_type, char>) {
    return text;
  } else {
    const std::string unicode = base::wellFormed(text);
    return std::u8string(unicode.begin(), unicode.end());
  }
}

/// Null if the options name no file. The path is made absolute immediately, because the program may
/// change its working directory before the file is needed.
std::shared_ptr<host::Database> databaseOf(const HostOptions& options) {
  if (options.inMemory) return std::make_shared<host::MemoryDatabase>();
  if (options.dataFile) return host::SqliteDatabase::inFile(pathOf(*options.dataFile));
  const std::filesystem::path folder = pathOf(options.dataFolder);
  return host::SqliteDatabase::inFile(folder.empty() ? folder : folder / "corvo.db");
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
