// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <map>
#include <mutex>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "tool/http/http_message.h"

namespace corvo::tool {

/// A value that changes without requests.
struct Gauge {
  std::string_view name;
  std::string_view type;  ///< "gauge" or "counter".
  std::string_view help;
  double value = 0;
};

/// Counts requests and how long their routes take. Thread-safe.
class Metrics {
 public:
  /// The route, counted. Refers to this object.
  [[nodiscard]] HttpRoute around(HttpRoute route);

  /// Counts a request. The name of its route has static storage.
  void count(std::string_view route, int status, std::chrono::nanoseconds duration);

  /// The values in the text format of Prometheus, version 0.0.4, with these after them.
  [[nodiscard]] std::string text(const std::vector<Gauge>& gauges) const;

  /// The upper bounds of the histogram, in seconds. The last bucket has none.
  static constexpr std::array kBounds{0.0001, 0.00025, 0.0005, 0.001, 0.0025, 0.005, 0.01,
                                      0.025,  0.05,    0.1,    0.25,  0.5,    1.0};

 private:
  struct Durations {
    std::array<std::uint64_t, kBounds.size() + 1> counts{};
    std::chrono::nanoseconds sum{};
  };
  struct Counts {
    std::map<std::pair<std::string_view, int>, std::uint64_t> requests;  // by route and status
    std::map<std::string_view, Durations> durations;                     // by route
  };
  /// What some threads have counted. They rarely wait for each other.
  struct alignas(64) Shard {
    std::mutex mutex;
    Counts counts;  // guarded
  };

  [[nodiscard]] Counts sum() const;

  mutable std::array<Shard, 16> shards_;
};

}  // namespace corvo::tool
