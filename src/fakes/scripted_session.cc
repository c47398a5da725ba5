// SPDX-License-Identifier: Apache-2.0

#include <corvo/fakes/scripted_session.h>

#include <algorithm>
#include <utility>

#include "fakes/arguments.h"

namespace corvo::fakes {
namespace {

std::string_view routeOf(std::string_view url) {
  const std::string_view path = url.substr(0, url.find_first_of("?#"));
  return path.substr(path.rfind('/') + 1);
}

std::invalid_argument noRoute(std::string_view route) {
  return wrong({"the session has no route \"", route, R"("; clients ask for config.json and geo)"});
}

}  // namespace

Reply ok(std::string body) { return status(200, std::move(body)); }

Reply status(int code, std::string body) {
  return {.response = {.status = code, .body = std::move(body), .failure = {}}};
}

Reply failure(std::string reason) {
  return {.response = {.status = {}, .body = {}, .failure = std::move(reason)}};
}

Reply silence() { return {.response = {}, .silent = true}; }

Reply after(double seconds, Reply reply) {
  reply.delaySeconds = seconds;
  return reply;
}

ScriptedSession::ScriptedSession(std::shared_ptr<VirtualTime> time,
                                 std::initializer_list<std::string> routes)
    : time_(std::move(time)) {
  for (const std::string& route : routes) scripts_.try_emplace(route);
}

void ScriptedSession::start(UrlRequest request, Callback<void(UrlResponse)> completion) {
  Reply reply = take(routeOf(request.url));
  requests_.push_back(std::move(request));
  if (!reply.silent && !(reply.delaySeconds > 0)) return completion(std::move(reply.response));

  const std::size_t id = requests_.size();
  underWay_->try_emplace(id, std::move(completion));
  if (reply.silent) return;
  time_->postAfter(reply.delaySeconds, [weak = std::weak_ptr(underWay_), id,
                                        response = std::move(reply.response)]() mutable {
    Callback<void(UrlResponse)> due;
    if (const auto underWay = weak.lock()) due = std::move(underWay->extract(id).mapped());
    due(std::move(response));
  });
}

void ScriptedSession::always(std::string_view route, Reply reply) {
  script(route).always = std::move(reply);
}

void ScriptedSession::next(std::string_view route, Reply reply) {
  script(route).next.push_back(std::move(reply));
}

void ScriptedSession::clearNext(std::string_view route) { script(route).next.clear(); }

void ScriptedSession::clear(std::string_view route) { script(route) = {}; }

std::size_t ScriptedSession::requestCount(std::string_view route) const {
  if (!scripts_.contains(route)) throw noRoute(route);
  return static_cast<std::size_t>(
      std::count_if(requests_.begin(), requests_.end(),
                    [&](const UrlRequest& request) { return routeOf(request.url) == route; }));
}

ScriptedSession::Script& ScriptedSession::script(std::string_view route) {
  const auto found = scripts_.find(route);
  if (found == scripts_.end()) throw noRoute(route);
  return found->second;
}

Reply ScriptedSession::take(std::string_view route) {
  const auto found = scripts_.find(route);
  if (found == scripts_.end()) return Script().always;
  Script& script = found->second;
  if (script.next.empty()) return script.always;
  Reply reply = std::move(script.next.front());
  script.next.pop_front();
  return reply;
}

}  // namespace corvo::fakes
