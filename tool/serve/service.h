// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <functional>

#include "tool/http/http_server.h"
#include "tool/http/router.h"
#include "tool/ofrep/ofrep.h"
#include "tool/ofrep/publication.h"
#include "tool/serve/access.h"
#include "tool/serve/event_stream.h"
#include "tool/serve/metrics.h"
#include "tool/serve/publisher.h"
#include "tool/serve/serve_options.h"
#include "tool/surroundings.h"

namespace corvo::tool {

/// The server with its routes, and what keeps its project fresh.
class Service {
 public:
  /// Refers to the options. Throws a `Failure`.
  explicit Service(const ServeOptions& options);

  /// Prints the address, and answers until a signal arrives. A thread of its own keeps the project
  /// fresh. It may wait for a backend then, so the process must end without destroying this object.
  void run();

 private:
  void relay();
  void readFiles();
  void addRoutes();
  [[nodiscard]] HttpRoute handler();
  [[nodiscard]] HttpResponse answer(const HttpRequest& request) const;
  [[noreturn]] void keepFresh() noexcept;

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
  /// Keeps the project fresh, and returns how long to wait before the next time.
  std::function<std::chrono::milliseconds()> feed_;
};

}  // namespace corvo::tool
