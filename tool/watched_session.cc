// SPDX-License-Identifier: Apache-2.0

#include "tool/watched_session.h"

#include <utility>

#include "tool/document.h"

namespace corvo::tool {

WatchedSession::WatchedSession(std::shared_ptr<UrlSession> session)
    : session_(std::move(session)) {}

void WatchedSession::start(UrlRequest request, Callback<void(UrlResponse)> completion) {
  std::string Seen::*const document =
      kindAskedFor(request) == Document::Kind::location ? &Seen::location : &Seen::configuration;
  session_->start(std::move(request), [seen = seen_, document, completion = std::move(completion)](
                                          UrlResponse response) mutable {
    seen->failure = response.failure;
    *seen.*document = response.body;
    completion(std::move(response));
  });
}

}  // namespace corvo::tool
