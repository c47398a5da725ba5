// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace corvo::tests {

/// The bytes that the server sends, and what it does afterwards.
struct RawReply {
  enum class Then { keepOpen, close, reset, repeat };

  std::deque<std::string> pieces;  ///< The first immediately, each of the others a moment later.
  Then then = Then::keepOpen;      ///< `repeat` sends the last piece repeatedly.
};

/// A complete HTTP/1.1 answer with a body.
[[nodiscard]] RawReply answer(int status, const std::string& body, const std::string& fields = {});

/// An answer in the notation of a table: "^" is a line break, "@" the length of the body, "{3*x}"
/// is "xxx", and "OK" a normal head. Afterwards the connection stays open, ends by "close" or
/// "reset", or the last piece is repeated.
[[nodiscard]] RawReply rawReply(std::string head, std::string body, const std::string& then,
                                std::string more = {});

/// The server's side of a connection.
class Stream {
 public:
  explicit Stream(int socket) : socket_(socket) {}
  Stream(const Stream&) = delete;
  Stream& operator=(const Stream&) = delete;
  virtual ~Stream();

  /// Received bytes; empty at the end.
  virtual std::string receive();
  virtual bool send(const std::string& bytes);
  /// Makes closing the connection reset it.
  void reset();

 protected:
  const int socket_;
};

/// A server on a free loopback port, on its own thread, that sends scripted answers.
class LoopbackServer {
 public:
  using Script = std::function<RawReply(const std::string& head)>;
  /// Creates a stream for a socket, or returns null.
  using Open = std::function<std::unique_ptr<Stream>(int socket)>;
  static std::unique_ptr<Stream> plainly(int socket) { return std::make_unique<Stream>(socket); }
  struct Request {
    std::string head;  ///< Request line and fields as received, even if incomplete.
    int connection;    ///< The number of the connection, from 1.
  };

  explicit LoopbackServer(Script script = {}, Open open = plainly);
  LoopbackServer(const LoopbackServer&) = delete;
  LoopbackServer& operator=(const LoopbackServer&) = delete;
  ~LoopbackServer();

  /// Answers every request with this script from now on.
  void say(Script script);
  void say(const RawReply& reply) {
    say([reply](const std::string&) { return reply; });
  }

  /// "http:/127.0.0.1:<port>" + path, with one slash, as the library writes addresses.
  [[nodiscard]] std::string url(const std::string& path) const;
  [[nodiscard]] std::string port() const { return std::to_string(port_); }
  [[nodiscard]] std::vector<Request> requests() const;
  [[nodiscard]] int connections() const { return accepted_; }  ///< The total so far.

 private:
  struct Connection {
    std::unique_ptr<Stream> stream;
    int number = 0;
    std::string received;
    RawReply reply;
  };

  void serve();
  bool receive(Connection& connection);
  static bool sendNext(Connection& connection);

  int listener_ = -1;
  std::uint16_t port_ = 0;
  std::atomic<bool> stop_ = false;
  const Open open_;
  std::map<int, Connection> connections_;
  std::atomic<int> accepted_ = 0;
  mutable std::mutex mutex_;
  Script script_;                  // guarded
  std::vector<Request> requests_;  // guarded
  std::thread thread_;
};

}  // namespace corvo::tests
