// SPDX-License-Identifier: Apache-2.0

#include "tool/serve/event_log.h"

#include <corvo/json_value.h>

#include <algorithm>
#include <iterator>
#include <utility>

namespace corvo::tool {
namespace {

/// The version in an id; the whole text if it is not an id.
std::string_view versionIn(std::string_view id) { return id.substr(id.find('-') + 1); }

std::string lineOfId(const std::string& id) { return "id: " + id + "\n"; }

}  // namespace

std::string EventLog::add(std::string version, std::int64_t lastModified) {
  const std::string data = R"({"type":"refetchEvaluation","etag":)" + JsonValue(version).toJson() +
                           ",\"lastModified\":" + std::to_string(lastModified) + "}";
  const std::string id = std::to_string(++count_) + "-" + version;
  version_ = std::move(version);
  if (events_.size() == kKept) events_.pop_front();
  events_.push_back({id, "event: message\n" + lineOfId(id) + "data: " + data + "\n\n"});
  return events_.back().text;
}

std::string EventLog::missed(std::string_view lastId, std::string_view since) const {
  if (events_.empty()) return "";
  const Event& current = events_.back();
  const auto seen = std::ranges::find(events_, lastId, &Event::id);
  if (seen == events_.end()) {
    const std::string_view known = lastId.empty() ? since : versionIn(lastId);
    if (!known.empty() && known != version_) return current.text;
  } else if (&*seen != &current) {
    std::string all;
    for (auto each = std::next(seen); each != events_.end(); ++each) all += each->text;
    return all;
  }
  return lineOfId(current.id) + "\n";
}

}  // namespace corvo::tool
