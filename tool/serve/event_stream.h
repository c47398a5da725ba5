// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "tool/http/http_message.h"
#include "tool/serve/event_log.h"

namespace corvo::tool {

/// The path of the route with the events.
inline constexpr std::string_view kEventsPath = "/ofrep/v1/events";

/// Tells any number of listeners of changes, as server-sent events. A listener costs no thread and
/// is forgotten when its connection is closed. Thread-safe.
class EventStream {
 public:
  /// Sends a comment to all listeners at this interval, so that nothing between closes their
  /// connections as idle.
  explicit EventStream(std::chrono::milliseconds pulse = std::chrono::seconds(15));
  EventStream(const EventStream&) = delete;
  EventStream& operator=(const EventStream&) = delete;
  ~EventStream();

  /// Calls `publish`, then sends the event, as one step. No listener joins in between, so one who
  /// has an answer of either version neither misses the event nor gets it twice.
  void announce(const std::string& version, std::int64_t lastModified,
                const std::function<void()>& publish);

  /// The answer to a request for the events: begins with those that the listener has missed.
  /// Refers to this object.
  [[nodiscard]] HttpResponse open(const HttpRequest& request);

  [[nodiscard]] std::size_t listeners() const;

 private:
  void join(const HttpStream& listener, std::string_view lastId, std::string_view since);
  void send(const std::string& text);  // with the lock
  void beat(std::chrono::milliseconds pulse);

  mutable std::mutex mutex_;
  std::condition_variable end_;
  EventLog log_;                       // guarded
  std::vector<HttpStream> listeners_;  // guarded
  bool isOver_ = false;                // guarded
  std::thread heart_;
};

}  // namespace corvo::tool
