// SPDX-License-Identifier: Apache-2.0

#include "tool/serve/service.h"

#include <exception>
#include <memory>
#include <string>
#include <thread>
#include <utility>

#include "tool/output.h"
#include "tool/serve/cors.h"
#include "tool/serve/document_route.h"
#include "tool/serve/fault_injection.h"
#include "tool/serve/file_watch.h"
#include "tool/serve/monitoring.h"
#include "tool/serve/page.h"
#include "tool/serve/relay.h"
#include "tool/serve/request_log.h"

namespace corvo::tool {
namespace {

/// The project of two files, which a local backend serves.
struct Files {
  Files(const ServeOptions& options, Publisher& publisher)
      : configuration(options.source.config, Document::Kind::configuration),
        location(options.source.geo, Document::Kind::location),
        faults(options.faults),
        watch(project, publisher) {}

  ServedFile configuration;
  ServedFile location;
  ServedProject project{configuration, location};
  FaultInjector faults;
  FileWatch watch;
};

/// The route unless too many connections are open. A server that is full is not ill.
HttpRoute withoutSurplus(HttpRoute route) {
  return [route = std::move(route)](const HttpRequest& request) {
    if (!request.isSurplus || request.path == kHealthPath) return route(request);
    HttpResponse busy = refusal(429, "too many connections");
    busy.headers.emplace_back("Retry-After", "1");
    return busy;
  };
}

}  // namespace

Service::Service(const ServeOptions& options)
    : options_(options),
      keys_(options.keys),
      surroundings_(options.surroundings),
      ofrep_(publication_, surroundings_, keys_.addressOfEvents()),
      server_(handler(), {.connections = options.connections}) {
  options.isRelay() ? relay() : readFiles();
  addRoutes();
}

void Service::relay() {
  const std::chrono::seconds life(options_.life);
  feed_ = [relay = std::make_shared<Relay>(fetchWithClient(options_.source, life),
                                           options_.source.url, life, publisher_)] {
    return relay->step();
  };
}

void Service::readFiles() {
  auto files = std::make_shared<Files>(options_, publisher_);
  router_.add("GET", "/config.json", files->faults.around(documentRoute(files->configuration)));
  router_.add("GET", "/geo", files->faults.around(documentRoute(files->location)));
  // The page is for those on this machine, or with a key.
  if (!options_.insecure) router_.add("GET", "/", pageOf(files->project));
  feed_ = [files] {
    files->watch.look(FileWatch::Clock::now());
    return FileWatch::kInterval;
  };
  feed_();
}

void Service::addRoutes() {
  router_.add("POST", kFlagsPath,
              [this](const HttpRequest& request) { return ofrep_.evaluateAll(request); });
  router_.add("POST", kFlagPath, [this](const HttpRequest& request) {
    return ofrep_.evaluate(request, starOf(kFlagPath, request));
  });
  router_.add("GET", kEventsPath,
              [this](const HttpRequest& request) { return events_.open(request); });
  router_.add("GET", kHealthPath, [this](const HttpRequest&) { return healthOf(publication_); });
  router_.add("GET", kMetricsPath, [this](const HttpRequest&) {
    return metricsOf(metrics_, server_, events_, publication_);
  });
}

/// From the inside out: pages of other origins see refusals, which are counted and logged.
HttpRoute Service::handler() {
  HttpRoute route = [this](const HttpRequest& request) { return answer(request); };
  route = withOrigins(options_.origins, withoutSurplus(keys_.around(std::move(route))));
  if (options_.keys.empty() && !options_.insecure) {
    route = onlyForLocalNames(options_.origins, std::move(route));
  }
  route = metrics_.around(std::move(route));
  return options_.log ? logged(std::move(route)) : route;
}

/// A failure is an answer, too, so that it is counted and logged. Nobody outside learns why.
HttpResponse Service::answer(const HttpRequest& request) const {
  try {
    return router_.answer(request);
  } catch (const std::exception&) {
    return refusal(500, "internal error");
  }
}

void Service::run() {
  const ListenAddress address = options_.listenAddress();
  print("Serving " + address.urlWith(server_.listen(address.host, address.port)) + "\n");
  std::thread([this] { keepFresh(); }).detach();
  server_.run(std::thread::hardware_concurrency());
}

void Service::keepFresh() noexcept {
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

}  // namespace corvo::tool
