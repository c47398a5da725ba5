// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "tool/http/http_server.h"
#include "tool/http/listen_address.h"
#include "tool/serve/fault_injection.h"
#include "tool/source.h"
#include "tool/surroundings.h"

namespace CLI {
class App;
}

namespace corvo::tool {

/// The options of `corvo serve`.
struct ServeOptions {
  SourceOptions source;
  std::int64_t life = 60;  ///< Of a fetched copy, in seconds.
  std::string address;     ///< As given; empty: this machine, and the port.
  int port = 0;
  std::size_t connections = HttpLimits{}.connections;
  std::vector<std::string> keys;  ///< As given, before `settle`: also several with commas between.
  bool insecure = false;
  std::vector<std::string> origins;
  bool log = false;
  FaultOptions faults;
  SurroundingsOptions surroundings;

  /// Whether it fetches the project from a backend.
  [[nodiscard]] bool isRelay() const { return source.config.empty(); }
  [[nodiscard]] ListenAddress listenAddress() const;
};

void addServeOptions(CLI::App& command, ServeOptions& options);

/// Ensures that the options agree, and that nobody else can ask without a key unless they say so.
/// Throws a `CLI::ParseError`.
void settleServe(const CLI::App& command, ServeOptions& options);

}  // namespace corvo::tool
