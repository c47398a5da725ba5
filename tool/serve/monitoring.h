// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string_view>

#include "tool/http/http_server.h"
#include "tool/ofrep/publication.h"
#include "tool/serve/event_stream.h"
#include "tool/serve/metrics.h"

namespace corvo::tool {

/// The path that needs no key: load balancers and orchestrators cannot send one.
inline constexpr std::string_view kHealthPath = "/healthz";
inline constexpr std::string_view kMetricsPath = "/metrics";

/// Whether questions can be answered: 200, or 503 with the reason.
[[nodiscard]] HttpResponse healthOf(const Publication& publication);

/// What the server has counted, for Prometheus.
[[nodiscard]] HttpResponse metricsOf(const Metrics& metrics, const HttpServer& server,
                                     const EventStream& events, const Publication& publication);

}  // namespace corvo::tool
