// SPDX-License-Identifier: Apache-2.0

#include "tool/http/http_sessions.h"

#include <utility>
#include <vector>

namespace corvo::tool {

HttpSessions::HttpSessions(HttpRoute theHandler, const HttpLimits& theLimits,
                           std::function<void()> ended)
    : handler(std::move(theHandler)), limits(theLimits), ended_(std::move(ended)) {}

void HttpSessions::add(HttpSession::Socket socket) {
  bool isAdmitted = false;
  {
    const std::lock_guard lock(mutex_);
    // Those that wait for their refusal take room, too.
    const bool isFull = open_.size() >= 2 * limits.connections;
    isAdmitted = !isFull && admitted_ < limits.connections;
    if (!isAdmitted) ++refused_;
    if (isFull) return;
  }
  const auto session = std::make_shared<HttpSession>(*this, std::move(socket), isAdmitted);
  {
    const std::lock_guard lock(mutex_);
    if (isAdmitted) ++admitted_;
    open_.emplace(session.get(), session);
  }
  session->start();
}

void HttpSessions::remove(const HttpSession& session) {
  const std::lock_guard lock(mutex_);
  open_.erase(&session);
  if (session.isAdmitted()) --admitted_;
  if (isEnding_ && open_.empty()) ended_();
}

void HttpSessions::end() {
  std::vector<std::shared_ptr<HttpSession>> all;
  {
    const std::lock_guard lock(mutex_);
    isEnding_ = true;
    all.reserve(open_.size());  // so that nothing throws while these keep connections alive
    for (const auto& [session, shared] : open_) all.push_back(shared.lock());
    if (open_.empty()) ended_();
  }
  for (const auto& session : all) {
    if (session) session->end();
  }
}

std::size_t HttpSessions::admitted() const {
  const std::lock_guard lock(mutex_);
  return admitted_;
}

std::size_t HttpSessions::refused() const {
  const std::lock_guard lock(mutex_);
  return refused_;
}

}  // namespace corvo::tool
