// SPDX-License-Identifier: Apache-2.0

#include <CLI/CLI.hpp>
#include <csignal>
#include <cstdlib>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "tool/commands.h"
#include "tool/output.h"
#include "tool/serve/fault_injection.h"
#include "tool/serve/http_server.h"
#include "tool/serve/page.h"
#include "tool/serve/served_file.h"
#include "tool/serve/served_project.h"

namespace corvo::tool {
namespace {

constexpr const char* kHost = "127.0.0.1";

struct ServeOptions {
  std::string configFile;
  std::string geoFile;
  int port = 0;
  bool log = false;
  FaultOptions faults;
};

/// A header that the library always sends and that this request lacks, or null.
const char* missingHeader(const HttpRequest& request) {
  for (const char* name : {"token", "user-id"}) {
    if (request.header(name).empty()) return name;
  }
  return nullptr;
}

HttpResponse refusal(int status, const std::string& reason) {
  return {.status = status, .body = reason + "\n"};
}

/// Reads the file for every request, so that an edit shows at the next one.
HttpRoute answerWith(ServedFile& file) {
  return [&file](const HttpRequest& request) {
    if (const char* header = missingHeader(request)) {
      return refusal(400, std::string("missing header: ") + header);
    }
    std::optional<std::string> content = file.read();
    if (!content) return refusal(404, "cannot read " + file.path());
    return HttpResponse{.type = "application/json", .body = *std::move(content)};
  };
}

/// Ends the server if its log cannot be written. An open page asks every second whether something
/// is new; that nothing is would only fill the log.
void logRequest(std::string_view method, std::string_view path, int status) try {
  if (path == "/" && status == 304) return;
  print(std::string(method) + " " + visible(path) + " " + std::to_string(status) + "\n");
} catch (...) {
  std::_Exit(statusOfFailure());
}

void serve(const ServeOptions& options) {
  ServedFile configuration(options.configFile, Document::Kind::configuration);
  ServedFile location(options.geoFile, Document::Kind::location);
  for (ServedFile* file : {&configuration, &location})
    static_cast<void>(file->read());  // reports faults
  ServedProject project(configuration, location);
  FaultInjector faults(options.faults);
  HttpServer server;
  server.get("/config.json", faults.around(answerWith(configuration)));
  server.get("/geo", faults.around(answerWith(location)));
  server.get("/", pageOf(project));
  // Before the answer is sent, so that a client that has the answer finds the line.
  if (options.log) server.observe(logRequest);
  const int port = server.listen(kHost, options.port);
  // No cleanup is needed, and idle connections must not delay the exit.
  for (const int signal : {SIGINT, SIGTERM}) std::signal(signal, [](int) { std::_Exit(0); });
  print("Serving http://" + std::string(kHost) + ":" + std::to_string(port) + "\n");
  server.run();
}

}  // namespace

void addServe(CLI::App& app) {
  auto options = std::make_shared<ServeOptions>();
  CLI::App& command = *app.add_subcommand(
      "serve", "Run a local backend; prints its address and runs until stopped");
  command
      .add_option("--config", options->configFile,
                  "The configuration document, re-read on every request")
      ->required()
      ->check(CLI::ExistingFile);
  command
      .add_option("--geo", options->geoFile,
                  "The location, re-read on every request; the default is empty")
      ->check(CLI::ExistingFile);
  command.add_option("--port", options->port, "The port to listen on; 0 picks a free one")
      ->check(CLI::Range(0, 65535))
      ->capture_default_str();
  command.add_flag("--log", options->log, "Print a line for each request");
  addFaultOptions(command, options->faults);
  command.callback([options] { serve(*options); });
}

}  // namespace corvo::tool
