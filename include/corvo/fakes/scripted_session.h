#pragma once

#include <corvo/export.h>
#include <corvo/fakes/virtual_time.h>
#include <corvo/platform/url_session.h>

#include <cstddef>
#include <deque>
#include <initializer_list>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace corvo::fakes {

/// What a `ScriptedSession` does with a request.
struct Reply {
  UrlResponse response;     ///< What the completion is given.
  double delaySeconds = 0;  ///< Virtual time until the completion; 0 completes inside the call.
  bool silent = false;      ///< Never completes.
};
/// The usual replies.
[[nodiscard]] CORVO_FAKES_EXPORT Reply ok(std::string body);
[[nodiscard]] CORVO_FAKES_EXPORT Reply status(int code, std::string body = {});
[[nodiscard]] CORVO_FAKES_EXPORT Reply failure(std::string reason = "connection refused");
[[nodiscard]] CORVO_FAKES_EXPORT Reply silence();
/// The same reply, later.
[[nodiscard]] CORVO_FAKES_EXPORT Reply after(double seconds, Reply reply);

/// A session that answers from a script and records what it was asked. A route is the last
/// component of the address's path: "config.json" or "geo". An unscripted one fails in transport.
/// A route that the session does not have is mistyped: it throws `std::invalid_argument`.
/// What is never answered stays under way, and keeps what it holds, until the session is destroyed.
/// For the test's thread.
class CORVO_FAKES_EXPORT ScriptedSession final : public UrlSession {
 public:
  /// Delays pass on that clock. The routes are those of a backend, if no others are given.
  explicit ScriptedSession(std::shared_ptr<VirtualTime> time,
                           std::initializer_list<std::string> routes = {"config.json", "geo"});

  void start(UrlRequest request, Callback<void(UrlResponse)> completion) override;

  /// From now on the route answers so, whenever nothing else is lined up for it. Replaces what was
  /// said before.
  void always(std::string_view route, Reply reply);
  /// The route's next request (after those already lined up) is answered so, once.
  void next(std::string_view route, Reply reply);
  /// Takes back what is lined up for the route with `next`.
  void clearNext(std::string_view route);
  /// Takes back everything that was said of the route: it is unscripted again. Requests that are
  /// under way are answered as before.
  void clear(std::string_view route);

  /// Every request so far, in order.
  [[nodiscard]] const std::vector<UrlRequest>& requests() const { return requests_; }
  [[nodiscard]] std::size_t requestCount(std::string_view route) const;

 private:
  using UnderWay = std::map<std::size_t, Callback<void(UrlResponse)>>;
  struct Script {
    std::deque<Reply> next;
    Reply always = failure("nothing is scripted for this route");
  };

  Script& script(std::string_view route);
  Reply take(std::string_view route);

  std::shared_ptr<VirtualTime> time_;
  std::vector<UrlRequest> requests_;
  std::map<std::string, Script, std::less<>> scripts_;  // one for each route
  // By the request's number. Shared only with delayed tasks, which hold it weakly.
  std::shared_ptr<UnderWay> underWay_ = std::make_shared<UnderWay>();
};

}  // namespace corvo::fakes
