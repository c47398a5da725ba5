// SPDX-License-Identifier: Apache-2.0

#include "tool/serve/monitoring.h"

#include <chrono>
#include <vector>

namespace corvo::tool {

HttpResponse healthOf(const Publication& publication) {
  const Publication::Current current = publication.now();
  return current.edition ? HttpResponse{.body = "ok\n"} : refusal(503, current.refusal);
}

HttpResponse metricsOf(const Metrics& metrics, const HttpServer& server, const EventStream& events,
                       const Publication& publication) {
  const auto valueOf = [](std::size_t count) { return static_cast<double>(count); };
  std::vector<Gauge> gauges{
      {"corvo_connections", "gauge", "Open connections that were admitted, event streams included.",
       valueOf(server.connections())},
      {"corvo_refused_connections_total", "counter", "Connections beyond --max-connections.",
       valueOf(server.refused())},
      {"corvo_event_listeners", "gauge", "Open event streams.", valueOf(events.listeners())}};
  const Publication::Current current = publication.now();
  if (current.confirmed != Publication::Clock::time_point()) {
    const std::chrono::duration<double> age = Publication::Clock::now() - current.confirmed;
    gauges.push_back({"corvo_configuration_age_seconds", "gauge",
                      "The time since the configuration was last read or fetched.", age.count()});
  }
  return {.type = "text/plain; version=0.0.4; charset=utf-8", .body = metrics.text(gauges)};
}

}  // namespace corvo::tool
