// SPDX-License-Identifier: Apache-2.0

#include "tool/serve/event_stream.h"

namespace corvo::tool {
namespace {

/// A comment: no event, and it costs a browser nothing.
constexpr const char* kPulse = ":\n\n";

}  // namespace

EventStream::EventStream(std::chrono::milliseconds pulse)
    : heart_([this, pulse] { beat(pulse); }) {}

EventStream::~EventStream() {
  {
    const std::lock_guard lock(mutex_);
    isOver_ = true;
  }
  end_.notify_one();
  heart_.join();
}

void EventStream::announce(const std::string& version, std::int64_t lastModified,
                           const std::function<void()>& publish) {
  const std::lock_guard lock(mutex_);
  publish();
  send(log_.add(version, lastModified));
}

HttpResponse EventStream::open(const HttpRequest& request) {
  HttpResponse response{.type = "text/event-stream",
                        .body = kPulse,
                        // The second one is nginx's: it must not collect what is sent.
                        .headers = {{"Cache-Control", "no-store"}, {"X-Accel-Buffering", "no"}}};
  response.stream = [this, lastId = std::string(request.header("Last-Event-ID")),
                     since = request.parameter("since")](const HttpStream& listener) {
    join(listener, lastId, since);
  };
  return response;
}

void EventStream::join(const HttpStream& listener, std::string_view lastId,
                       std::string_view since) {
  const std::lock_guard lock(mutex_);
  const std::string missed = log_.missed(lastId, since);
  if (missed.empty() || listener.send(missed)) listeners_.push_back(listener);
}

std::size_t EventStream::listeners() const {
  const std::lock_guard lock(mutex_);
  return listeners_.size();
}

void EventStream::send(const std::string& text) {
  std::erase_if(listeners_, [&text](const HttpStream& each) { return !each.send(text); });
}

void EventStream::beat(std::chrono::milliseconds pulse) {
  std::unique_lock lock(mutex_);
  while (!end_.wait_for(lock, pulse, [this] { return isOver_; })) send(kPulse);
}

}  // namespace corvo::tool
