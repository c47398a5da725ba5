// SPDX-License-Identifier: Apache-2.0
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

/// The source of a project: files, or a backend.
struct SourceOptions {
  std::string config;
  std::string geo;
  std::string url;
  std::string token;
  std::optional<double> timeout;  ///< In seconds.
};

void addSourceOptions(CLI::App& command, SourceOptions& options);
/// Parts of them: the file of the location; the address of a backend; how to query it.
void addGeoOption(CLI::App& command, std::string& geo);
void addUrlOption(CLI::App& command, SourceOptions& options);
void addBackendOptions(CLI::App& command, SourceOptions& options);

/// Ensures that the options name exactly one source; a file overrides the environment. `otherInput`
/// is another file that the command reads, or empty, because only one can be standard input. Throws
/// a `CLI::ParseError`.
void settleSource(SourceOptions& options, const std::string& otherInput = {});

/// A platform that fetches from this source and keeps its data where the host options say.
[[nodiscard]] Platform platformOf(const SourceOptions& options, HostOptions host);

/// A project as a client would see it, and its location.
struct Source {
  Document configuration;
  Project project;
  PropertyMap location;
};

/// Decodes both. Throws a `Failure`, also for a project that would abort a client's process.
[[nodiscard]] Source sourceOf(Document configuration, const Document& location);

/// Reads or fetches both. Throws a `Failure`, also for a project that would abort a client's
/// process.
[[nodiscard]] Source loadSource(const SourceOptions& options);

/// The location in a file, or an empty one without a name. Throws a `Failure`.
[[nodiscard]] PropertyMap loadLocation(const std::string& geo);

/// Lists on standard error whatever a client drops from the document, because answers may depend on
/// it.
void printDrops(const Source& source);

}  // namespace corvo::tool
