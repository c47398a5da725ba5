// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

#include "tool/http/http_message.h"

namespace corvo::tool {

/// The keys of which a request needs one, if there are any.
class ApiKeys {
 public:
  /// Throws `std::invalid_argument` if a key is empty or has characters other than visible ASCII.
  explicit ApiKeys(std::vector<std::string> keys);

  /// Whether a request has a key: in `X-API-Key`, in `Authorization: Bearer`, or in `token`, the
  /// header of this library's clients. The time that this takes depends on the request and the
  /// lengths of the keys only.
  [[nodiscard]] bool admit(const HttpRequest& request) const;

  /// The address of the event stream for those who have a key. A browser cannot send a header with
  /// a request for events, and a key must not be in an address, because addresses are logged. So
  /// the address has a ticket, which follows from the first key, opens the event stream only, and
  /// is the same for all servers with the same first key. Without keys, it is the path.
  [[nodiscard]] std::string addressOfEvents() const;

  /// The route for requests that have a key, for the health route, and for the event stream with
  /// the ticket of any key. Others get 401. Without keys, it is the route itself.
  [[nodiscard]] HttpRoute around(HttpRoute route) const;

 private:
  std::vector<std::string> keys_;
  std::vector<std::string> tickets_;
};

/// The route for requests that cannot come from a page of a site that made its own name mean this
/// machine (DNS rebinding). Such a page has a name as its Host, and its questions have an
/// Origin. So a Host that is an address or `localhost` is admitted everywhere, and any other only
/// where proxies may forward it, to questions and monitoring: without an Origin, or with one of
/// these, or if they have "*". Others get 403.
[[nodiscard]] HttpRoute onlyForLocalNames(std::vector<std::string> origins, HttpRoute route);

}  // namespace corvo::tool
