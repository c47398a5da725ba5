// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <mutex>
#include <optional>
#include <random>

#include "tool/http/http_message.h"

namespace CLI {
class App;
}

namespace corvo::tool {

/// How a backend misbehaves on purpose.
struct FaultOptions {
  std::int64_t latency = 0;                   ///< In milliseconds.
  std::optional<double> failRate;             ///< From 0 to 1.
  std::optional<int> status;                  ///< Of a failure.
  std::optional<std::size_t> bytesPerSecond;  ///< Of a body.
  std::int64_t seed = 0;                      ///< Not negative.
};

void addFaultOptions(CLI::App& command, FaultOptions& options);

/// Makes routes slow and unreliable. The n-th request for any of them fails or not depending only
/// on the options and n. Thread-safe.
class FaultInjector {
 public:
  explicit FaultInjector(const FaultOptions& options);

  /// The route with these faults. Refers to this object.
  [[nodiscard]] HttpRoute around(HttpRoute route);

 private:
  [[nodiscard]] bool fails();

  const FaultOptions options_;
  const double failRate_;
  std::mutex mutex_;
  std::mt19937_64 random_;  // guarded
};

}  // namespace corvo::tool
