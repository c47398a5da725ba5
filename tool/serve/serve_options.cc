// SPDX-License-Identifier: Apache-2.0

#include "tool/serve/serve_options.h"

#include <CLI/CLI.hpp>
#include <cstdlib>
#include <stdexcept>
#include <string_view>
#include <utility>

#include "tool/serve/access.h"
#include "tool/serve/cors.h"

namespace corvo::tool {
namespace {

constexpr const char* kFaults = "Faults of /config.json and /geo";
constexpr const char* kKeysVariable = "CORVO_API_KEYS";

/// Puts the options that have no group yet into one.
void group(CLI::App& command, const char* name) {
  for (CLI::Option* each : command.get_options([](const CLI::Option* option) {
         return option->get_group() == CLI::OptionDefaults().get_group() &&
                option->get_name() != "--help";
       })) {
    each->group(name);
  }
}

std::string complainAboutAddress(const std::string& text) try {
  static_cast<void>(ListenAddress::parse(text));
  return "";
} catch (const std::invalid_argument& refused) {
  return refused.what();
}

void addProject(CLI::App& command, ServeOptions& options) {
  command
      .add_option("--config", options.source.config,
                  "The configuration document; edits are noticed")
      ->check(CLI::ExistingFile);
  command.add_option("--geo", options.source.geo, "The location; the default is empty")
      ->check(CLI::ExistingFile);
  addUrlOption(command, options.source);
  command.get_option("--url")->description("Relay the backend at this base URL");
  addBackendOptions(command, options.source);
  command
      .add_option("--ttl", options.life, "How long a fetched copy may answer; the default is 60")
      ->check(CLI::Range(std::int64_t{1}, std::int64_t{86'400}))
      ->type_name("SECONDS");
  group(command, "Project");
}

void addAddress(CLI::App& command, ServeOptions& options) {
  CLI::Option* const port =
      command.add_option("--port", options.port, "The port to listen on; by default a free one")
          ->check(CLI::Range(0, 65'535))
          ->capture_default_str();
  command
      .add_option(
          "--listen", options.address,
          "An IP address and a port, such as 0.0.0.0:8080; the default is 127.0.0.1 and --port")
      ->check(CLI::Validator(complainAboutAddress, "ADDRESS:PORT"))
      ->excludes(port);
  command
      .add_option(
          "--max-connections", options.connections,
          "More connections than this get 429; by default " + std::to_string(options.connections))
      ->check(CLI::Range(1, 1'000'000));
  command.add_flag("--log", options.log, "Print a line for each request");
  group(command, "Server");
}

void addAccess(CLI::App& command, ServeOptions& options) {
  command
      .add_option("--api-key", options.keys,
                  "A key; requests must send one of the keys; repeatable")
      ->envname(kKeysVariable)
      ->allow_extra_args(false)
      ->type_name("KEY");
  command.add_flag("--insecure", options.insecure, "Answer anyone, without a key; hides the page");
  command
      .add_option("--allow-origin", options.origins,
                  "Answer pages of this origin, or *; repeatable")
      ->check(complainAboutOrigin)
      ->allow_extra_args(false)
      ->type_name("ORIGIN");
  group(command, "Access");
}

std::vector<std::string> splitAtCommas(const std::vector<std::string>& texts) {
  std::vector<std::string> parts;
  for (std::string_view text : texts) {
    for (std::size_t comma = 0; comma != std::string_view::npos;) {
      comma = text.find(',');
      parts.emplace_back(text.substr(0, comma));
      text.remove_prefix(comma == std::string_view::npos ? text.size() : comma + 1);
    }
  }
  return parts;
}

void settleKeys(ServeOptions& options) {
  const char* const variable = std::getenv(kKeysVariable);
  const bool isEmpty = variable != nullptr && *variable == '\0';
  if (options.keys.empty() && isEmpty) {
    throw CLI::ValidationError(kKeysVariable, "is set but empty");
  }
  options.keys = splitAtCommas(options.keys);
  try {
    static_cast<void>(ApiKeys(options.keys));
  } catch (const std::invalid_argument& refused) {
    throw CLI::ValidationError("--api-key", refused.what());
  }
  if (options.keys.empty() && !options.insecure && !options.listenAddress().isLoopback()) {
    throw CLI::ValidationError("--listen",
                               "other machines could connect: requires --api-key, or "
                               "--insecure");
  }
  if (!options.keys.empty() && options.insecure) {
    throw CLI::ExcludesError("--insecure", "--api-key");
  }
}

}  // namespace

ListenAddress ServeOptions::listenAddress() const {
  return address.empty() ? ListenAddress{.port = port} : ListenAddress::parse(address);
}

void addServeOptions(CLI::App& command, ServeOptions& options) {
  addProject(command, options);
  addAddress(command, options);
  addAccess(command, options);
  addSurroundingsOptions(command, options.surroundings);
  group(command, "Evaluations");
  addFaultOptions(command, options.faults);
  group(command, kFaults);
}

void settleServe(const CLI::App& command, ServeOptions& options) {
  settleSource(options.source);
  for (const CLI::Option* each : command.get_options()) {
    const bool isForFiles = each->get_group() == kFaults;
    const bool isForRelay = each->get_name() == "--ttl";
    if (each->count() == 0 || !(options.isRelay() ? isForFiles : isForRelay)) continue;
    throw CLI::RequiresError(each->get_name(), isForFiles ? "--config" : "--url");
  }
  settleKeys(options);
  static_cast<void>(Surroundings(options.surroundings));
}

}  // namespace corvo::tool
