// SPDX-License-Identifier: Apache-2.0

#include <CLI/CLI.hpp>
#include <cstdlib>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <utility>

#include "tool/commands.h"
#include "tool/output.h"
#include "tool/serve/fault_injection.h"
#include "tool/serve/http_server.h"
#include "tool/serve/page.h"
#include "tool/serve/router.h"
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

/// Prints a line for each request before its answer is sent, so that a client that has the answer
/// finds the line. An open page asks every second whether something is new; that nothing is would
/// only fill the log. Ends the server if its log cannot be written.
HttpRoute logged(HttpRoute route) {
  return [route = std::move(route)](const HttpRequest& request) {
    HttpResponse response = route(request);
    if (request.path == "/" && response.status == 304) return response;
    try {
      print(request.method + " " + visible(request.path) + " " + std::to_string(response.status) +
            "\n");
    } catch (...) {
      std::_Exit(statusOfFailure());
    }
    return response;
  };
}

void serve(const ServeOptions& options) {
  ServedFile configuration(options.configFile, Document::Kind::configuration);
  ServedFile location(options.geoFile, Document::Kind::location);
  for (ServedFile* file : {&configuration, &location})
    static_cast<void>(file->read());  // reports faults
  ServedProject project(configuration, location);
  FaultInjector faults(options.faults);
  Router router;
  router.add("GET", "/config.json", faults.around(answerWith(configuration)));
  router.add("GET", "/geo", faults.around(answerWith(location)));
  router.add("GET", "/", pageOf(project));
  HttpRoute route = [&router](const HttpRequest& request) { return router.answer(request); };
  HttpServer server(options.log ? logged(std::move(route)) : std::move(route));
  const int port = server.listen(kHost, options.port);
  print("Serving http://" + std::string(kHost) + ":" + std::to_string(port) + "\n");
  server.run(std::thread::hardware_concurrency());
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
