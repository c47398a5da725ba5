// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <boost/asio/buffer.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/http/parser.hpp>
#include <boost/beast/http/string_body.hpp>
#include <cstddef>
#include <optional>

#include "tool/http/http_message.h"
#include "tool/http/http_server.h"

namespace corvo::tool {

/// Turns the bytes of a connection into requests. Keeps at most the limits of one, and what arrived
/// together with its end.
class HttpRequestReader {
 public:
  enum class State {
    incomplete,  ///< More bytes are needed.
    awaited,     ///< The same, and the client waits until it is told to continue. Said once.
    complete,
    refused,  ///< Not a valid request, or too large. Nothing after it can be read.
  };

  explicit HttpRequestReader(const HttpLimits& limits);

  /// Where to put the next bytes, and that so many were put there.
  [[nodiscard]] boost::asio::mutable_buffer space() { return buffer_.prepare(kSpace); }
  void received(std::size_t size) { buffer_.commit(size); }

  /// Whether bytes are left that no request has used.
  [[nodiscard]] bool hasBytes() const { return buffer_.size() > 0; }
  void discardBytes() { buffer_.clear(); }

  /// Continues with the current request, or begins one.
  State read();

  /// If complete: the request. The next call of `read` begins another.
  [[nodiscard]] HttpRequest take();
  /// If refused: what to answer.
  [[nodiscard]] HttpResponse refusal() const;

  // Of the last complete request. False after a refusal.
  [[nodiscard]] bool keepsAlive() const { return keepsAlive_; }
  /// Whether the client understands chunks, which came with HTTP/1.1.
  [[nodiscard]] bool readsChunks() const { return readsChunks_; }

 private:
  using Parser = boost::beast::http::request_parser<boost::beast::http::string_body>;
  static constexpr std::size_t kSpace = 4'096;

  void begin();
  void skipEmptyLines();
  State readHead();
  State refuse(int status);

  const HttpLimits& limits_;
  boost::beast::flat_buffer buffer_;
  std::optional<Parser> parser_;  // of the current request
  HttpRequest request_;
  std::size_t headSize_ = 0;
  bool keepsAlive_ = false;
  bool readsChunks_ = false;
  int refusal_ = 0;
};

}  // namespace corvo::tool
