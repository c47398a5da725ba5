// SPDX-License-Identifier: Apache-2.0
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

/// How a `ScriptedSession` answers a request.
struct Reply {
  UrlResponse response;     ///< Passed to the completion.
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

/// A session that answers from a script and records its requests. A route is the last component of
/// the address's path: "config.json" or "geo". A request for a route without a script fails in
/// transport. A script for a route that the session does not have is refused as a typing error:
/// `std::invalid_argument`. A request that is never answered stays under way, and keeps its
/// completion, until the session is destroyed. Use it only on the test's thread.
class CORVO_FAKES_EXPORT ScriptedSession final : public UrlSession {
 public:
  /// Delays pass in that virtual time. By default the routes are those of a backend.
  explicit ScriptedSession(std::shared_ptr<VirtualTime> time,
                           std::initializer_list<std::string> routes = {"config.json", "geo"});

  void start(UrlRequest request, Callback<void(UrlResponse)> completion) override;

  /// From now on, the route gives this reply unless `next` has queued another. Replaces the
  /// previous one.
  void always(std::string_view route, Reply reply);
  /// Queues a reply that the route gives once, after the replies already queued.
  void next(std::string_view route, Reply reply);
  /// Removes the replies that `next` has queued for the route.
  void clearNext(std::string_view route);
  /// Removes the route's whole script. Requests under way are answered as before.
  void clear(std::string_view route);

  /// Every request so far, in order.
  [[nodiscard]] const std::vector<UrlRequest>& requests() const { return requests_; }
  /// How many requests there have been for the route.
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
  // By the request's number. Shared only so that delayed tasks can hold it weakly.
  std::shared_ptr<UnderWay> underWay_ = std::make_shared<UnderWay>();
};

}  // namespace corvo::fakes
