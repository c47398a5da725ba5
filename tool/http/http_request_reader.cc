// SPDX-License-Identifier: Apache-2.0

#include "tool/http/http_request_reader.h"

#include <boost/beast/http/error.hpp>
#include <cstring>
#include <string_view>
#include <utility>

#include "tool/http/request_target.h"

namespace corvo::tool {

namespace beast = boost::beast;
namespace http = beast::http;

namespace {

using Head = http::request_header<>;
using Field = http::field;

std::string_view view(beast::string_view text) { return {text.data(), text.size()}; }

/// The status of an answer to bytes that cannot be read.
int statusOf(const beast::error_code& error) {
  if (error == http::error::header_limit) return 431;
  if (error == http::error::body_limit || error == http::error::buffer_overflow) return 413;
  return 400;
}

/// Why a head is refused that can be read; 0 if it is not. A proxy in front of this server must not
/// see a request end elsewhere than this server does, so both must be certain where it ends.
int faultOf(const Head& head) {
  const auto lengths = head.count(Field::content_length);
  const auto codings = head.count(Field::transfer_encoding);
  if (lengths + codings > 1) return 400;
  if (lengths == 1 && head[Field::content_length].find(',') != beast::string_view::npos) return 400;
  if (codings == 1 && head.version() < 11) return 400;
  if (codings == 1 && !beast::iequals(head[Field::transfer_encoding], "chunked")) return 501;
  const auto hosts = head.count(Field::host);
  if (hosts > 1 || (hosts == 0 && head.version() >= 11)) return 400;
  return 0;
}

}  // namespace

HttpRequestReader::HttpRequestReader(const HttpLimits& limits) : limits_(limits) {}

HttpRequestReader::State HttpRequestReader::read() {
  if (!parser_) begin();
  skipEmptyLines();
  while (hasBytes() && !parser_->is_done()) {
    const bool wasInHead = !parser_->is_header_done();
    beast::error_code error;
    const std::size_t size = parser_->put(buffer_.data(), error);
    buffer_.consume(size);
    if (wasInHead) headSize_ += size;
    // The parser's own limit does not count the lines that it has finished.
    if (wasInHead && headSize_ > limits_.headerBytes) return refuse(431);
    if (error == http::error::need_more) break;
    if (error) return refuse(statusOf(error));
    if (!wasInHead || !parser_->is_header_done()) continue;
    if (const State state = readHead(); state != State::incomplete) return state;
  }
  if (parser_->is_done()) return State::complete;
  const bool isInHead = !parser_->is_header_done();
  // What it has not finished: lines of the head, or the size of a chunk.
  if (buffer_.size() + (isInHead ? headSize_ : 0) > limits_.headerBytes) {
    return refuse(isInHead ? 431 : 413);
  }
  return State::incomplete;
}

void HttpRequestReader::begin() {
  request_ = {};
  headSize_ = 0;
  keepsAlive_ = false;
  parser_.emplace();
  parser_->eager(false);  // stops after the head, before trailers add to it
  parser_->header_limit(static_cast<std::uint32_t>(limits_.headerBytes));
  parser_->body_limit(limits_.bodyBytes);
}

/// Some clients end a body with a line break that is not a part of it.
void HttpRequestReader::skipEmptyLines() {
  while (!parser_->got_some() && buffer_.size() >= 2 &&
         std::memcmp(buffer_.data().data(), "\r\n", 2) == 0) {
    buffer_.consume(2);
  }
}

HttpRequestReader::State HttpRequestReader::readHead() {
  const Head& head = parser_->get();
  if (const int fault = faultOf(head)) return refuse(fault);
  for (const auto& field : head) request_.headers.emplace(field.name_string(), field.value());
  request_.method = view(head.method_string());
  if (!readTarget(view(head.target()), request_)) return refuse(400);
  readsChunks_ = head.version() >= 11;
  keepsAlive_ = parser_->keep_alive();
  const bool awaits = readsChunks_ && beast::iequals(head[Field::expect], "100-continue");
  return awaits && !parser_->is_done() && !hasBytes() ? State::awaited : State::incomplete;
}

HttpRequest HttpRequestReader::take() {
  request_.body = std::move(parser_->get().body());
  parser_.reset();
  return std::move(request_);
}

HttpRequestReader::State HttpRequestReader::refuse(int status) {
  refusal_ = status;
  keepsAlive_ = false;
  return State::refused;
}

HttpResponse HttpRequestReader::refusal() const {
  switch (refusal_) {
    case 413:
      return tool::refusal(413, "the body is too large");
    case 431:
      return tool::refusal(431, "the header is too large");
    case 501:
      return tool::refusal(501, "the only transfer encoding is chunked");
    default:
      return tool::refusal(400, "not a valid HTTP/1.1 request");
  }
}

}  // namespace corvo::tool
