// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <atomic>
#include <boost/asio/basic_stream_socket.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/asio/strand.hpp>
#include <chrono>
#include <cstddef>
#include <memory>
#include <string>

#include "tool/http/http_message.h"
#include "tool/http/http_request_reader.h"

namespace corvo::tool {

class HttpSessions;

/// One connection. Its strand runs all that it does, one thing at a time; each operation under way
/// keeps it alive, and each has a deadline, but for the watch on the client of a stream.
class HttpSession : public std::enable_shared_from_this<HttpSession> {
 public:
  using Strand = boost::asio::strand<boost::asio::io_context::executor_type>;
  using Socket = boost::asio::basic_stream_socket<boost::asio::ip::tcp, Strand>;

  /// The first request of one that is not admitted is surplus, and its last.
  HttpSession(HttpSessions& all, Socket socket, bool isAdmitted);
  HttpSession(const HttpSession&) = delete;
  HttpSession& operator=(const HttpSession&) = delete;
  ~HttpSession();

  [[nodiscard]] bool isAdmitted() const { return isAdmitted_; }

  // From any thread.
  void start();
  /// Answers the request of which a byte has arrived or arrives soon, if there is one, and closes.
  void end();

 private:
  using Error = boost::system::error_code;
  using Clock = std::chrono::steady_clock;
  using Next = void (HttpSession::*)();
  using Bytes = std::array<boost::asio::const_buffer, 2>;

  // A request.
  void beginRequest();
  void receive();
  void received(const Error& error, std::size_t size);
  void readOn();
  void continued();
  [[nodiscard]] bool hasArrived();

  // Its answer.
  void answer(HttpRequest request);
  void refuse(HttpResponse response);
  void send();
  [[nodiscard]] std::size_t partSize() const;
  void awaitPart();
  void sendPart();
  void sent();
  void linger();
  void drain();
  void close();

  // An answer without an end.
  void beginStream();
  void watchClient();
  bool stream(const std::string& text);  // on any thread
  void flush();
  void flushed();
  void endStream();

  // Operations and their deadlines.
  void write(const Bytes& bytes, Next next);
  void writeInTime(const Bytes& bytes, Next next);
  void waitUntil(Clock::time_point time, Next next);
  void limit(Clock::duration time);
  void limitNothing();
  void limitIdle();
  void limitRequest();

  HttpSessions& all_;
  const Strand strand_;
  const bool isAdmitted_;
  Socket socket_;
  boost::asio::steady_timer deadline_;
  boost::asio::steady_timer pause_;
  HttpRequestReader reader_;
  bool isIdle_ = true;      // no byte of a request has arrived
  bool isLimited_ = false;  // the time for the request is running
  bool isLate_ = false;     // the deadline has passed
  bool isEnding_ = false;
  std::atomic<bool> isClosed_ = false;

  HttpResponse response_;
  std::string head_;
  bool keepsAlive_ = false;
  bool isHead_ = false;
  std::size_t sentBytes_ = 0;  // of a body with a pace
  Clock::time_point due_;      // for its next part

  bool isStream_ = false;
  bool isWriting_ = false;
  std::string pending_;
  std::string writing_;
  std::atomic<std::size_t> unsent_ = 0;  // bytes of the stream, in both and on their way there
};

}  // namespace corvo::tool
