#include <corvo/fakes/scripted_session.h>

#include <algorithm>

namespace corvo::fakes {
namespace {

std::string_view routeOf(std::string_view url) {
  const std::string_view path = url.substr(0, url.find_first_of("?#"));
  return path.substr(path.rfind('/') + 1);
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
  scripts_[std::string(route)].always = std::move(reply);
}

void ScriptedSession::next(std::string_view route, Reply reply) {
  scripts_[std::string(route)].next.push_back(std::move(reply));
}

void ScriptedSession::clearNext(std::string_view route) {
  const auto script = scripts_.find(route);
  if (script != scripts_.end()) script->second.next.clear();
}

void ScriptedSession::clear(std::string_view route) {
  const auto script = scripts_.find(route);
  if (script != scripts_.end()) scripts_.erase(script);
}

std::size_t ScriptedSession::requestCount(std::string_view route) const {
  return static_cast<std::size_t>(
      std::count_if(requests_.begin(), requests_.end(),
                    [&](const UrlRequest& request) { return routeOf(request.url) == route; }));
}

Reply ScriptedSession::take(std::string_view route) {
  Script& script = scripts_[std::string(route)];
  if (script.next.empty()) return script.always;
  Reply reply = std::move(script.next.front());
  script.next.pop_front();
  return reply;
}

}  // namespace corvo::fakes
