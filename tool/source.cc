// SPDX-License-Identifier: Apache-2.0

#include "tool/source.h"

#include <corvo/json_value.h>
#include <corvo/lint.h>
#include <corvo/property.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <iostream>
#include <span>
#include <tuple>
#include <utility>
#include <variant>

#include "json/json_places.h"
#include "tool/asked_client.h"
#include "tool/failure.h"
#include "tool/finding_text.h"
#include "tool/input.h"

namespace corvo::tool {
namespace {

constexpr const char* kUrlVariable = "CORVO_URL";
constexpr const char* kTokenVariable = "CORVO_TOKEN";

bool isOfEnvironment(const std::string& value, const char* variable) {
  const char* const set = std::getenv(variable);
  return set != nullptr && value == set;
}

/// The code of the finding that would abort a client.
constexpr const char* kStop = "inverted-bounds";

struct Documents {
  Document configuration;
  Document location;
};

Documents documents(const std::string& configName, std::string config, const std::string& geoName,
                    std::string geo) {
  return {{Document::Kind::configuration, configName, std::move(config)},
          {Document::Kind::location, geoName, std::move(geo)}};
}

Documents readDocuments(const SourceOptions& options) {
  return documents(shownName(options.config), readInput(options.config), shownName(options.geo),
                   options.geo.empty() ? "{}" : readInput(options.geo));
}

/// Fetches with a client, because it knows the protocol.
Documents askForDocuments(const SourceOptions& options) {
  AskedClient asked(platformOf(options, {.inMemory = true}), options.url, options.token,
                    std::nullopt);
  asked.ask([&asked](CorvoClient& client) {
    client.getProject().get();
    fetchDocuments(client, asked.session().configuration().size());
  });
  return documents(options.url + ": configuration", asked.session().configuration(),
                   options.url + ": location", asked.session().location());
}

void refuse(const Document& document) {
  if (const auto fault = faultOf(document)) throw Failure("bad-document", *fault);
}

/// A client aborts the process when a question reaches layer bounds that end before they begin.
void refuseStops(const Document& document, const Project& project) {
  if (project.stops().empty()) return;
  const std::vector<Project::Drop> drops = project.drops();
  std::string lines;
  for (const Finding& finding : lint(document.text)) {
    const auto isAround = [&](const Project::Drop& drop) {
      return finding.pointer.starts_with(drop.pointer + "/");
    };
    if (finding.code != kStop || std::ranges::any_of(drops, isAround)) continue;
    lines += (lines.empty() ? "" : "\n") + lineOf(document.name, finding, Style());
  }
  throw Failure(kStop, lines);
}

Project decodeProject(const Document& document) {
  refuse(document);
  Project project = Project::decode(document.text, Project::Filter::client).value();
  refuseStops(document, project);
  return project;
}

PropertyMap decodeLocation(const Document& document) {
  refuse(document);
  PropertyMap location;
  const auto object = fromCorvoString<JsonObject>(document.text);
  for (const auto& [name, value] : *object) {
    location.emplace(name, std::get<std::string>(value.value()));
  }
  return location;
}

constexpr std::size_t kMostDropsNamed = 20;

}  // namespace

void addSourceOptions(CLI::App& command, SourceOptions& options) {
  command
      .add_option("--config", options.config,
                  "Read the configuration from a file; - is standard input")
      ->check(complainAboutName)
      ->type_name("FILE");
  addGeoOption(command, options.geo);
  addUrlOption(command, options);
  addBackendOptions(command, options);
}

void addUrlOption(CLI::App& command, SourceOptions& options) {
  command.add_option("--url", options.url, "Query the backend at this base URL instead")
      ->envname(kUrlVariable)
      ->type_name("URL");
}

void addGeoOption(CLI::App& command, std::string& geo) {
  command
      .add_option("--geo", geo, "Read the location from a file; the default is an empty location")
      ->check(complainAboutName)
      ->type_name("FILE");
}

void addBackendOptions(CLI::App& command, SourceOptions& options) {
  command.add_option("--token", options.token, "The project's token")->envname(kTokenVariable);
  command.add_option("--timeout", options.timeout, "The time limit for each request, in seconds")
      ->check([](const std::string& text) -> std::string {
        const auto seconds = fromCorvoString<double>(text);
        return seconds && *seconds > 0 ? "" : "must be a positive number of seconds";
      })
      ->type_name("SECONDS");
}

void settleSource(SourceOptions& options, const std::string& otherInput) {
  const auto inputs = {options.config, options.geo, otherInput};
  if (std::ranges::count(inputs, kStandardInput) > 1) {
    throw CLI::ValidationError("-", "only one input can be standard input");
  }
  if (options.config.empty()) {
    if (!options.geo.empty()) throw CLI::ValidationError("--geo", "requires --config");
    if (options.url.empty()) throw CLI::RequiredError("--config, or --url with --token,");
    if (options.token.empty()) throw CLI::RequiredError("--token");
    return;
  }
  for (const auto& [value, variable, name] :
       {std::tuple(&options.url, kUrlVariable, "--url"),
        std::tuple(&options.token, kTokenVariable, "--token")}) {
    if (!value->empty() && !isOfEnvironment(*value, variable)) {
      throw CLI::ExcludesError("--config", name);
    }
    value->clear();
  }
}

Platform platformOf(const SourceOptions& options, HostOptions host) {
  if (options.timeout) host.timeoutSeconds = host.transferSeconds = *options.timeout;
  Platform platform = hostPlatform(std::move(host));
  if (!options.config.empty()) {
    const auto [configuration, location] = readDocuments(options);
    static_cast<void>(decodeProject(configuration));
    refuse(location);
    platform.urlSession = sessionOf(configuration.text, location.text);
  }
  return platform;
}

Source sourceOf(Document configuration, const Document& location) {
  Project project = decodeProject(configuration);
  return {std::move(configuration), std::move(project), decodeLocation(location)};
}

Source loadSource(const SourceOptions& options) {
  auto [configuration, location] =
      options.config.empty() ? askForDocuments(options) : readDocuments(options);
  return sourceOf(std::move(configuration), location);
}

PropertyMap loadLocation(const std::string& geo) {
  return decodeLocation(
      {Document::Kind::location, shownName(geo), geo.empty() ? "{}" : readInput(geo)});
}

void printDrops(const Source& source) {
  const std::vector<Project::Drop> drops = source.project.drops();
  std::string lines;
  for (const Project::Drop& drop :
       std::span(drops).first(std::min(drops.size(), kMostDropsNamed))) {
    lines += "warning: " + source.configuration.name + ":" +
             corvo_internal::json::lineAndColumn(source.configuration.text, drop.offset) +
             ": dropped " + drop.pointer + ": " + drop.reason + "\n";
  }
  if (drops.size() > kMostDropsNamed) {
    lines += "warning: " + std::to_string(drops.size() - kMostDropsNamed) + " more are dropped\n";
  }
  std::cerr << lines;
}

}  // namespace corvo::tool
