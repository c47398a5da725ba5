// SPDX-License-Identifier: Apache-2.0

#include "tool/http/http_session.h"

#include <algorithm>
#include <boost/asio/dispatch.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/write.hpp>
#include <string_view>
#include <utility>

#include "tool/http/http_response_head.h"
#include "tool/http/http_sessions.h"

namespace corvo::tool {

namespace asio = boost::asio;

namespace {

using namespace std::chrono_literals;

/// For the client to read a last answer and close, or to send a last request. If the server closed
/// at once, the system would reset a connection on which more has arrived, and the client might
/// lose the answer.
constexpr auto kLingering = 1s;
/// For the request of a client that is refused anyway, and before it.
constexpr std::chrono::milliseconds kRefusing = 5s;

/// The answer of the handler. This is the last guard: what it throws must not end the process.
HttpResponse answerOf(const HttpRoute& handler, const HttpRequest& request) try {
  return handler(request);
} catch (...) {
  return refusal(500, "internal error");
}

}  // namespace

HttpSession::HttpSession(HttpSessions& all, Socket socket, bool isAdmitted)
    : all_(all),
      strand_(socket.get_executor()),
      isAdmitted_(isAdmitted),
      socket_(std::move(socket)),
      deadline_(strand_),
      pause_(strand_),
      reader_(all.limits) {}

HttpSession::~HttpSession() { all_.remove(*this); }

void HttpSession::start() {
  asio::dispatch(strand_, [self = shared_from_this()] { self->beginRequest(); });
}

void HttpSession::end() {
  asio::post(strand_, [self = shared_from_this()] {
    self->isEnding_ = true;
    if (self->isStream_) return self->endStream();
    self->pause_.cancel();
    if (self->isIdle_) self->limitIdle();
  });
}

void HttpSession::beginRequest() {
  isLimited_ = false;
  isIdle_ = !reader_.hasBytes();
  if (!isIdle_) return readOn();
  limitIdle();
  receive();
}

void HttpSession::receive() {
  socket_.async_read_some(reader_.space(), [self = shared_from_this()](auto error, auto size) {
    self->received(error, size);
  });
}

void HttpSession::received(const Error& error, std::size_t size) {
  if (isLate_ && !isIdle_) return refuse(refusal(408, "the request takes too long"));
  const bool cameJustInTime = isLate_ && hasArrived();
  if (error && !cameJustInTime) return close();
  isIdle_ = false;
  reader_.received(size);
  readOn();
}

void HttpSession::readOn() {
  constexpr std::string_view kContinue = "HTTP/1.1 100 Continue\r\n\r\n";
  switch (reader_.read()) {
    case HttpRequestReader::State::incomplete:
      limitRequest();
      return receive();
    case HttpRequestReader::State::awaited:
      limitRequest();
      return writeInTime({asio::buffer(kContinue)}, &HttpSession::continued);
    case HttpRequestReader::State::complete:
      return answer(reader_.take());
    case HttpRequestReader::State::refused:
      return refuse(reader_.refusal());
  }
}

void HttpSession::continued() { received({}, 0); }

void HttpSession::refuse(HttpResponse response) {
  response_ = std::move(response);
  keepsAlive_ = false;
  isHead_ = false;
  send();
}

void HttpSession::answer(HttpRequest request) {
  request.isSurplus = !isAdmitted_;
  keepsAlive_ = isAdmitted_ && reader_.keepsAlive();
  isHead_ = request.method == "HEAD";
  response_ = answerOf(all_.handler, request);
  if (!isAdmitted_) response_.stream = nullptr;
  if (response_.delay <= 0ms) return send();
  waitUntil(Clock::now() + response_.delay, &HttpSession::send);
}

void HttpSession::send() {
  // The end may have begun without this connection having been told yet.
  if (all_.isEnding() && !hasArrived()) keepsAlive_ = false;
  if (response_.stream && !isHead_) return beginStream();
  head_ = headOf(response_, keepsAlive_, reader_.readsChunks());
  if (isHead_ || !hasBody(response_.status)) response_.body.clear();
  sentBytes_ = 0;
  due_ = Clock::now();
  if (response_.bytesPerSecond) return write({asio::buffer(head_)}, &HttpSession::awaitPart);
  write({asio::buffer(head_), asio::buffer(response_.body)}, &HttpSession::sent);
}

std::size_t HttpSession::partSize() const {
  constexpr std::size_t kPartsPerSecond = 20;
  const std::size_t rest = response_.body.size() - sentBytes_;
  const std::size_t part = std::max<std::size_t>(1, *response_.bytesPerSecond / kPartsPerSecond);
  return isEnding_ ? rest : std::min(rest, part);
}

void HttpSession::awaitPart() {
  if (sentBytes_ == response_.body.size()) return sent();
  const std::chrono::duration<double> time(static_cast<double>(partSize()) /
                                           static_cast<double>(*response_.bytesPerSecond));
  due_ += std::chrono::duration_cast<Clock::duration>(time);
  waitUntil(due_, &HttpSession::sendPart);
}

void HttpSession::sendPart() {
  const std::size_t size = partSize();
  const auto part = asio::buffer(response_.body) + std::exchange(sentBytes_, sentBytes_ + size);
  write({asio::buffer(part, size)}, &HttpSession::awaitPart);
}

void HttpSession::sent() {
  if (!keepsAlive_) return linger();
  response_ = {};
  beginRequest();
}

void HttpSession::linger() {
  Error ignored;
  socket_.shutdown(Socket::shutdown_send, ignored);
  limit(kLingering);
  drain();
}

void HttpSession::drain() {
  reader_.discardBytes();
  socket_.async_read_some(reader_.space(), [self = shared_from_this()](auto error, auto) {
    error || self->isLate_ ? self->close() : self->drain();
  });
}

void HttpSession::close() {
  isClosed_ = true;
  deadline_.cancel();
  pause_.cancel();
  Error ignored;
  socket_.close(ignored);
}

bool HttpSession::hasArrived() {
  Error ignored;
  return reader_.hasBytes() || socket_.available(ignored) > 0;
}

void HttpSession::write(const Bytes& bytes, Next next) {
  const auto seconds = asio::buffer_size(bytes) / all_.limits.leastBytesPerSecond;
  limit(all_.limits.answer + std::chrono::seconds(seconds));
  writeInTime(bytes, next);
}

/// Writes all before the deadline that runs, or closes.
void HttpSession::writeInTime(const Bytes& bytes, Next next) {
  const auto self = shared_from_this();
  const auto rest = [self](const Error& error, std::size_t written) {
    return self->isLate_ ? 0 : asio::transfer_all()(error, written);
  };
  asio::async_write(socket_, bytes, rest, [self, bytes, next](auto, auto size) {
    size < asio::buffer_size(bytes) ? self->close() : (self.get()->*next)();
  });
}

void HttpSession::waitUntil(Clock::time_point time, Next next) {
  limitNothing();
  pause_.expires_at(isEnding_ ? Clock::now() : time);
  pause_.async_wait([self = shared_from_this(), next](auto) {
    if (!self->isClosed_) (self.get()->*next)();
  });
}

void HttpSession::limit(Clock::duration time) {
  isLate_ = false;
  deadline_.expires_after(time);
  deadline_.async_wait([self = shared_from_this()](const Error& error) {
    // It may have expired while something else set it.
    if (error || self->deadline_.expiry() > Clock::now()) return;
    // What has completed just now cannot be cancelled. So whatever goes on looks at this first.
    self->isLate_ = true;
    Error ignored;
    self->socket_.cancel(ignored);
  });
}

void HttpSession::limitNothing() { deadline_.expires_at(Clock::time_point::max()); }

void HttpSession::limitIdle() {
  limit(isEnding_ ? kLingering : isAdmitted_ ? all_.limits.idle : kRefusing);
}

void HttpSession::limitRequest() {
  if (!std::exchange(isLimited_, true)) limit(isAdmitted_ ? all_.limits.request : kRefusing);
}

}  // namespace corvo::tool
