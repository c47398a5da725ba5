// SPDX-License-Identifier: Apache-2.0

// The part of a session that sends an answer without an end.

#include <boost/asio/post.hpp>
#include <utility>

#include "tool/http/http_response_head.h"
#include "tool/http/http_session.h"
#include "tool/http/http_sessions.h"

namespace corvo::tool {

namespace asio = boost::asio;

void HttpSession::beginStream() {
  isStream_ = true;
  const bool inChunks = reader_.readsChunks();
  pending_ = headOf(response_, inChunks, inChunks);
  if (!response_.body.empty()) pending_ += inChunks ? chunkOf(response_.body) : response_.body;
  unsent_ = pending_.size();
  try {
    response_.stream(HttpStream([weak = weak_from_this()](const std::string& text) {
      const auto self = weak.lock();
      return self && self->stream(text);
    }));
  } catch (...) {
    return close();
  }
  response_ = {};
  watchClient();
  isEnding_ ? endStream() : flush();
}

void HttpSession::watchClient() {
  reader_.discardBytes();
  socket_.async_read_some(reader_.space(), [self = shared_from_this()](auto error, auto) {
    error ? self->close() : self->watchClient();
  });
}

bool HttpSession::stream(const std::string& text) {
  if (isClosed_) return false;
  if (text.empty()) return true;  // an empty chunk would be the last one
  std::string bytes = reader_.readsChunks() ? chunkOf(text) : text;
  const bool fits = (unsent_ += bytes.size()) <= all_.limits.unsentBytes;
  if (!fits) isClosed_ = true;
  asio::post(strand_, [self = shared_from_this(), fits, bytes = std::move(bytes)] {
    if (!fits) return self->close();
    if (!self->isEnding_) self->pending_ += bytes;
    self->flush();
  });
  return fits;
}

void HttpSession::flush() {
  if (isWriting_) return;
  if (!pending_.empty()) {
    writing_ = std::exchange(pending_, {});
    isWriting_ = true;
    write({asio::buffer(writing_)}, &HttpSession::flushed);
  } else if (isEnding_) {
    close();
  }
}

void HttpSession::flushed() {
  isWriting_ = false;
  unsent_ -= writing_.size();
  limitNothing();
  flush();
}

void HttpSession::endStream() {
  isClosed_ = true;
  if (reader_.readsChunks()) pending_ += kLastChunk;
  flush();
}

}  // namespace corvo::tool
