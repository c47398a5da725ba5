// SPDX-License-Identifier: Apache-2.0

#include <httplib.h>

#include <CLI/CLI.hpp>
#include <csignal>
#include <cstdlib>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>

#include "tool/commands.h"
#include "tool/output.h"
#include "tool/served_file.h"

namespace corvo::tool {
namespace {

constexpr const char* kHost = "127.0.0.1";

struct ServeOptions {
  std::string configFile;
  std::string geoFile;
  int port = 0;
  bool log = false;
};

/// A header that the library always sends and that this request lacks, or null.
const char* missingHeader(const httplib::Request& request) {
  for (const char* name : {"token", "user-id"}) {
    if (request.get_header_value(name).empty()) return name;
  }
  return nullptr;
}

void refuse(httplib::Response& response, int status, const std::string& reason) {
  response.status = status;
  response.set_content(reason + "\n", "text/plain; charset=utf-8");
}

/// Sent uncompressed: compressing would take longer than anything else, and local traffic is free.
void send(httplib::Response& response, const std::shared_ptr<const std::string>& content) {
  const char* const type = "application/json";
  if (content->empty()) return response.set_content("", type);
  response.set_content_provider(
      content->size(), type,
      [content](std::size_t offset, std::size_t length, httplib::DataSink& sink) {
        return sink.write(content->data() + offset, length);
      });
}

/// Reads the file for every request, so that an edit shows at the next one.
httplib::Server::Handler answerWith(const std::shared_ptr<ServedFile>& file) {
  return [file](const httplib::Request& request, httplib::Response& response) {
    if (const char* header = missingHeader(request)) {
      return refuse(response, 400, std::string("missing header: ") + header);
    }
    std::optional<std::string> content = file->read();
    if (!content) return refuse(response, 404, "cannot read " + file->path());
    send(response, std::make_shared<const std::string>(*std::move(content)));
  };
}

/// Ends the server if its log cannot be written.
void logRequest(const httplib::Request& request, const httplib::Response& response) try {
  print(request.method + " " + request.path + " " + std::to_string(response.status) + "\n");
} catch (...) {
  std::_Exit(statusOfFailure());
}

/// Overrides the default of cpp-httplib, which shares the port with a server that already listens
/// on it.
void reuseOnlyFreedAddress([[maybe_unused]] socket_t socket) {
#ifndef _WIN32
  const int yes = 1;
  setsockopt(socket, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
#endif
}

/// The port that the server listens on.
int listenOn(httplib::Server& server, int port) {
  server.set_socket_options(reuseOnlyFreedAddress);
  if (port == 0) return server.bind_to_any_port(kHost);
  if (!server.bind_to_port(kHost, port)) {
    throw std::runtime_error("cannot listen on " + std::string(kHost) + ":" + std::to_string(port));
  }
  return port;
}

/// Adds a route. Reports a fault of the file immediately.
void addRoute(httplib::Server& server, const char* route, const std::string& path,
              Document::Kind kind) {
  const auto file = std::make_shared<ServedFile>(path, kind);
  static_cast<void>(file->read());
  server.Get(route, answerWith(file));
}

void serve(const ServeOptions& options) {
  httplib::Server server;
  addRoute(server, "/config.json", options.configFile, Document::Kind::configuration);
  addRoute(server, "/geo", options.geoFile, Document::Kind::location);
  // Before the answer is sent, so that a client that has the answer finds the line.
  if (options.log) server.set_post_routing_handler(logRequest);
  const int port = listenOn(server, options.port);
  // No cleanup is needed, and idle connections must not delay the exit.
  for (const int signal : {SIGINT, SIGTERM}) std::signal(signal, [](int) { std::_Exit(0); });
  print("Serving http://" + std::string(kHost) + ":" + std::to_string(port) + "\n");
  server.listen_after_bind();
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
  command.callback([options] { serve(*options); });
}

}  // namespace corvo::tool
