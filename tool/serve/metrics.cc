// SPDX-License-Identifier: Apache-2.0

#include "tool/serve/metrics.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdio>
#include <functional>
#include <utility>

namespace corvo::tool {
namespace {

/// A number of the calling thread, from 0.
std::size_t threadNumber() {
  static std::atomic<std::size_t> count = 0;
  thread_local const std::size_t number = count++;
  return number;
}

std::string numberOf(double value) {
  std::array<char, 32> text{};
  std::snprintf(text.data(), text.size(), "%.9g", value);
  return text.data();
}

std::string head(std::string_view name, std::string_view type, std::string_view help) {
  const std::string called(name);
  return "# HELP " + called + " " + std::string(help) + "\n# TYPE " + called + " " +
         std::string(type) + "\n";
}

/// Routes are paths of this program, so they need no escapes.
std::string label(std::string_view route) { return "route=\"" + std::string(route) + "\""; }

}  // namespace

HttpRoute Metrics::around(HttpRoute route) {
  return [this, route = std::move(route)](const HttpRequest& request) {
    const auto start = std::chrono::steady_clock::now();
    HttpResponse response = route(request);
    count(response.route, response.status, std::chrono::steady_clock::now() - start);
    return response;
  };
}

void Metrics::count(std::string_view route, int status, std::chrono::nanoseconds duration) {
  const double seconds = std::chrono::duration<double>(duration).count();
  const auto bucket = std::ranges::lower_bound(kBounds, seconds) - kBounds.begin();
  Shard& shard = shards_[threadNumber() % shards_.size()];
  const std::lock_guard lock(shard.mutex);
  ++shard.counts.requests[{route, status}];
  Durations& durations = shard.counts.durations[route];
  ++durations.counts[static_cast<std::size_t>(bucket)];
  durations.sum += duration;
}

Metrics::Counts Metrics::sum() const {
  Counts all;
  for (Shard& shard : shards_) {
    const std::lock_guard lock(shard.mutex);
    for (const auto& [key, count] : shard.counts.requests) all.requests[key] += count;
    for (const auto& [route, from] : shard.counts.durations) {
      Durations& to = all.durations[route];
      std::ranges::transform(from.counts, to.counts, to.counts.begin(), std::plus());
      to.sum += from.sum;
    }
  }
  return all;
}

std::string Metrics::text(const std::vector<Gauge>& gauges) const {
  const Counts all = sum();
  std::string text = head("corvo_requests_total", "counter", "Requests, by route and status.");
  for (const auto& [key, count] : all.requests) {
    text += "corvo_requests_total{" + label(key.first) + ",status=\"" + std::to_string(key.second) +
            "\"} " + std::to_string(count) + "\n";
  }
  constexpr std::string_view kDuration = "corvo_request_duration_seconds";
  text += head(kDuration, "histogram", "The time from a complete request to its answer.");
  for (const auto& [route, durations] : all.durations) {
    const std::string labels = label(route);
    const auto line = [&](const char* suffix, const std::string& more, const std::string& value) {
      text.append(kDuration).append(suffix).append("{").append(labels).append(more);
      text.append("} ").append(value).append("\n");
    };
    std::uint64_t count = 0;
    for (std::size_t i = 0; i < durations.counts.size(); ++i) {
      count += durations.counts[i];
      const std::string bound = i < kBounds.size() ? numberOf(kBounds[i]) : "+Inf";
      line("_bucket", ",le=\"" + bound + "\"", std::to_string(count));
    }
    line("_sum", "", numberOf(std::chrono::duration<double>(durations.sum).count()));
    line("_count", "", std::to_string(count));
  }
  for (const Gauge& gauge : gauges) {
    text += head(gauge.name, gauge.type, gauge.help) + std::string(gauge.name) + " " +
            numberOf(gauge.value) + "\n";
  }
  return text;
}

}  // namespace corvo::tool
