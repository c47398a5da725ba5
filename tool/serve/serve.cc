// SPDX-License-Identifier: Apache-2.0

#include <CLI/CLI.hpp>
#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <exception>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <utility>

#include "tool/commands.h"
#include "tool/ofrep/ofrep.h"
#include "tool/output.h"
#include "tool/serve/access.h"
#include "tool/serve/cors.h"
#include "tool/serve/document_route.h"
#include "tool/serve/file_watch.h"
#include "tool/serve/http_server.h"
#include "tool/serve/monitoring.h"
#include "tool/serve/page.h"
#include "tool/serve/relay.h"
#include "tool/serve/request_log.h"
#include "tool/serve/router.h"
#include "tool/serve/serve_options.h"

namespace corvo::tool {
namespace {

/// Keeps the project fresh, and returns how long to wait before the next time.
using Feed = std::function<std::chrono::milliseconds()>;

/// The project of two files, and the routes of a local backend.
class Files {
 public:
  Files(const ServeOptions& options, Publisher& publisher)
      : configuration_(options.source.config, Document::Kind::configuration),
        location_(options.source.geo, Document::Kind::location),
        project_(configuration_, location_),
        faults_(options.faults),
        watch_(project_, publisher) {}

  std::chrono::milliseconds look() {
    watch_.look(FileWatch::Clock::now());
    return FileWatch::kInterval;
  }

  /// The page is for those on this machine, or with a key.
  void addTo(Router& router, bool withPage) {
    router.add("GET", "/config.json", faults_.around(documentRoute(configuration_)));
    router.add("GET", "/geo", faults_.around(documentRoute(location_)));
    if (withPage) router.add("GET", "/", pageOf(project_));
  }

 private:
  ServedFile configuration_;
  ServedFile location_;
  ServedProject project_;
  FaultInjector faults_;
  FileWatch watch_;
};

/// Everything that a request needs, but for the server itself. Never destroyed while its thread
/// runs.
class Service {
 public:
  explicit Service(const ServeOptions& options)
      : options_(options),
        keys_(options.keys),
        surroundings_(options.surroundings),
        ofrep_(
            publication_, surroundings_,
            options.keys.empty() ? std::string(kEventsPath) : keys_.addressOfEvents(kEventsPath)),
        server_(handler(), {.connections = options.connections}) {
    if (options.isRelay()) {
      const std::chrono::seconds life(options.life);
      auto relay = std::make_shared<Relay>(fetchWithClient(options.source, life),
                                           options.source.url, life, publisher_);
      feed_ = [relay] { return relay->step(); };
    } else {
      auto files = std::make_shared<Files>(options, publisher_);
      files->addTo(router_, !options.insecure);
      feed_ = [files] { return files->look(); };
      feed_();
    }
    addRoutes();
  }

  /// Returns the exit status.
  int run() {
    const ListenAddress address = options_.listenAddress();
    print("Serving " + address.urlWith(server_.listen(address.host, address.port)) + "\n");
    std::thread([this] { keepUp(); }).detach();
    server_.run(std::max(2U, std::thread::hardware_concurrency()));
    return kDone;
  }

 private:
  void addRoutes();
  HttpRoute handler();
  [[noreturn]] void keepUp() noexcept;

  const ServeOptions& options_;
  const ApiKeys keys_;
  const Surroundings surroundings_;
  Publication publication_;
  EventStream events_;
  Publisher publisher_{publication_, events_};
  Metrics metrics_;
  Ofrep ofrep_;
  Router router_;
  HttpServer server_;
  Feed feed_;
};

void Service::addRoutes() {
  router_.add("POST", "/ofrep/v1/evaluate/flags",
              [this](const HttpRequest& request) { return ofrep_.evaluateAll(request); });
  router_.add("POST", "/ofrep/v1/evaluate/flags/*",
              [this](const HttpRequest& request) { return ofrep_.evaluate(request); });
  router_.add("GET", kEventsPath,
              [this](const HttpRequest& request) { return events_.open(request); });
  router_.add("GET", kHealthPath, [this](const HttpRequest&) { return healthOf(publication_); });
  router_.add("GET", "/metrics", [this](const HttpRequest&) {
    return metricsOf(metrics_, server_, events_, publication_);
  });
}

/// From the inside out: pages of other origins see refusals, and refusals are counted and logged.
HttpRoute Service::handler() {
  HttpRoute route = [this](const HttpRequest& request) { return router_.answer(request); };
  if (!options_.keys.empty()) route = keys_.around(std::move(route));
  route = withOrigins(options_.origins, std::move(route));
  if (options_.keys.empty() && !options_.insecure) route = onlyForLocalNames(std::move(route));
  route = metrics_.around(std::move(route));
  return options_.log ? logged(std::move(route)) : route;
}

void Service::keepUp() noexcept {
  for (;;) {
    std::chrono::milliseconds wait = std::chrono::seconds(1);
    try {
      wait = feed_();
    } catch (const std::exception& failure) {  // such as a lack of memory
      publisher_.withdraw(failure.what());
    }
    std::this_thread::sleep_for(wait);
  }
}

/// Ends the process, because the thread that keeps the project fresh may wait for a backend, and
/// nothing needs cleanup.
[[noreturn]] void serve(const ServeOptions& options) {
  std::unique_ptr<Service> service;  // not destroyed: that thread uses it
  int status = kFailed;
  try {
    service = std::make_unique<Service>(options);
    status = service->run();
  } catch (...) {
    status = statusOfFailure();
  }
  std::_Exit(status);
}

}  // namespace

void addServe(CLI::App& app) {
  auto options = std::make_shared<ServeOptions>();
  CLI::App& command = *app.add_subcommand(
      "serve",
      "Serve a project to clients and to OpenFeature; prints its address, runs until stopped");
  addServeOptions(command, *options);
  command.callback([options, &command] {
    settleServe(command, *options);
    serve(*options);
  });
}

}  // namespace corvo::tool
