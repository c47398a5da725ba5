#pragma once

#include <corvo/host.h>
#include <corvo/project.h>
#include <corvo/user.h>

#include <optional>
#include <string>

#include "tool/document.h"

namespace CLI {
class App;
}

namespace corvo::tool {

/// Where a command has the project from: files, or a backend.
struct SourceOptions {
  std::string config;
  std::string geo;
  std::string url;
  std::string token;
  std::optional<double> timeout;  ///< In seconds.
};

void addSourceOptions(CLI::App& command, SourceOptions& options);

/// Sees to it that the options name one source, and forgets what the environment says beside a
/// file. `otherInput` is another file that the command reads, or empty: only one can be standard
/// input. Throws a `CLI::ParseError`.
void settleSource(SourceOptions& options, const std::string& otherInput = {});

/// A platform that asks this source. It keeps things where the options of the host say.
[[nodiscard]] Platform platformOf(const SourceOptions& options, HostOptions host);

/// A project as a client would have it, and the location that goes with it.
struct Source {
  Document configuration;
  Project project;
  PropertyMap location;
};

/// Reads or fetches both. Throws a `Failure`, also for a project that would stop the process.
[[nodiscard]] Source loadSource(const SourceOptions& options);

}  // namespace corvo::tool
