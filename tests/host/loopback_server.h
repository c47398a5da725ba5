#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace corvo::tests {

/// What the server sends, byte for byte, and does afterwards.
struct RawReply {
  enum class Then { keepOpen, close, reset };

  std::deque<std::string> pieces;  ///< The first at once, each of the others a moment later.
  Then then = Then::keepOpen;
};

/// A whole answer of HTTP/1.1 with a body.
[[nodiscard]] RawReply answer(int status, const std::string& body, const std::string& fields = {});

/// A server on a free port of loopback, on a thread of its own, that says what it is told to say.
class LoopbackServer {
 public:
  using Script = std::function<RawReply(const std::string& head)>;
  struct Request {
    std::string head;  ///< Request line and fields, as they came.
    int connection;    ///< Which connection it came on, counted from 1.
  };

  explicit LoopbackServer(Script script = {});
  LoopbackServer(const LoopbackServer&) = delete;
  LoopbackServer& operator=(const LoopbackServer&) = delete;
  ~LoopbackServer();

  /// From now on every request is answered so.
  void say(RawReply reply);

  /// "http:/127.0.0.1:<port>" + path, with one slash, as the library writes addresses.
  [[nodiscard]] std::string url(const std::string& path) const;
  [[nodiscard]] std::string port() const { return std::to_string(port_); }
  [[nodiscard]] std::vector<Request> requests() const;
  [[nodiscard]] int connections() const { return accepted_; }  ///< How many ever came.

 private:
  struct Connection {
    int number = 0;
    std::string received;
    RawReply reply;
  };

  void serve();
  bool receive(int socket, Connection& connection);
  bool sendNext(int socket, Connection& connection);

  int listener_ = -1;
  std::uint16_t port_ = 0;
  std::atomic<bool> stop_ = false;
  std::map<int, Connection> connections_;
  std::atomic<int> accepted_ = 0;
  mutable std::mutex mutex_;
  Script script_;                  // guarded
  std::vector<Request> requests_;  // guarded
  std::thread thread_;
};

}  // namespace corvo::tests
