// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <string>
#include <string_view>

namespace corvo::tool {

/// The latest changes of the project, as server-sent events. An event's id is a number, which
/// counts this server's events, and the version: "7-VERSION". So another server of the same
/// project understands it as well.
class EventLog {
 public:
  static constexpr std::size_t kKept = 100;

  /// The current version; empty before the first change.
  [[nodiscard]] const std::string& version() const { return version_; }

  /// Notes a change to a version. Returns its event. The time is in seconds since 1970.
  std::string add(std::string version, std::int64_t lastModified);

  /// What a listener is sent first, so that it has missed nothing. `lastId` is the id of the last
  /// event that it has seen; without one, `since` is the version of the answers that it has. Both
  /// may be empty, or anything.
  /// - All events after that id, if this server sent it and still keeps it.
  /// - Otherwise the current event, unless that id or version names the current version.
  ///
  /// If nothing is missed, the text only sets the id for the listener's next connection.
  [[nodiscard]] std::string missed(std::string_view lastId, std::string_view since) const;

 private:
  struct Event {
    std::string id;
    std::string text;
  };

  std::string version_;
  std::uint64_t count_ = 0;
  std::deque<Event> events_;
};

}  // namespace corvo::tool
