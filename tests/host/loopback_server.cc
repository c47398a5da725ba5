// SPDX-License-Identifier: Apache-2.0

#include "tests/host/loopback_server.h"

#ifdef _WIN32
#include <winsock2.h>
#include <ws2tcpip.h>
#else
#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>
#endif

#include <stdexcept>
#include <utility>

#include "host/sigpipe.h"
#include "tests/base/case_table.h"
#include "tests/base/environment.h"

namespace corvo::tests {

using namespace corvo_internal;

namespace {

constexpr int kMomentMilliseconds = 10;

#ifdef _WIN32
constexpr int MSG_NOSIGNAL = 0;

int poll(pollfd* sockets, std::size_t count, int milliseconds) {
  return WSAPoll(sockets, static_cast<ULONG>(count), milliseconds);
}
int close(int socket) { return closesocket(socket); }
int socketsStarted() {
  static WSADATA ignored;
  static const int started = WSAStartup(MAKEWORD(2, 2), &ignored);
  return started;
}
#else
int socketsStarted() { return 0; }
#endif

pollfd readable(int socket) {
  pollfd polled{};
  polled.fd = socket;
  polled.events = POLLIN;
  return polled;
}

}  // namespace

RawReply answer(int status, const std::string& body, const std::string& fields) {
  return {{"HTTP/1.1 " + std::to_string(status) + " Text\r\n" + fields +
           "Content-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body}};
}

RawReply rawReply(std::string head, std::string body, const std::string& then, std::string more) {
  using enum RawReply::Then;
  if (head == "OK") head = "HTTP/1.1 200 OK^Content-Length: @^^";
  for (std::string* const part : {&head, &body, &more}) {
    replaceAll(*part, "^", "\r\n");
    *part = unfolded(*part);
  }
  replaceAll(head, "@", std::to_string(body.size()));
  if (!more.empty()) return {{head + body, more}, repeat};
  return {{head + body}, then == "close" ? close : then == "reset" ? reset : keepOpen};
}

Stream::~Stream() { close(socket_); }

std::string Stream::receive() {
  char bytes[4096];
  const auto size = recv(socket_, bytes, sizeof bytes, 0);
  return {bytes, size > 0 ? static_cast<std::size_t>(size) : 0};
}

bool Stream::send(const std::string& bytes) {
#ifdef _WIN32
  const auto count = static_cast<int>(bytes.size());
#else
  const std::size_t count = bytes.size();
#endif
  const auto size = ::send(socket_, bytes.data(), count, MSG_NOSIGNAL);
  return std::cmp_equal(size, bytes.size());
}

void Stream::reset() {
  const linger atOnce{1, 0};
  setsockopt(socket_, SOL_SOCKET, SO_LINGER, reinterpret_cast<const char*>(&atOnce), sizeof atOnce);
}

LoopbackServer::LoopbackServer(Script script, Open open)
    : listener_(socketsStarted() == 0 ? static_cast<int>(socket(AF_INET, SOCK_STREAM, 0)) : -1),
      open_(std::move(open)),
      script_(std::move(script)) {
  setVariable("no_proxy", "127.0.0.1,localhost");  // ignores any proxy of this machine
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  auto* const generic = reinterpret_cast<sockaddr*>(&address);
  socklen_t size = sizeof address;
  if (bind(listener_, generic, size) != 0 || listen(listener_, 512) != 0 ||
      getsockname(listener_, generic, &size) != 0) {
    throw std::runtime_error("no loopback");
  }
  port_ = ntohs(address.sin_port);
  thread_ = std::thread([this] { serve(); });
}

LoopbackServer::~LoopbackServer() {
  stop_ = true;
  thread_.join();
  close(listener_);
}

void LoopbackServer::say(Script script) {
  const std::lock_guard lock(mutex_);
  script_ = std::move(script);
}

std::string LoopbackServer::url(const std::string& path) const {
  return "http:/127.0.0.1:" + port() + path;
}

std::vector<LoopbackServer::Request> LoopbackServer::requests() const {
  const std::lock_guard lock(mutex_);
  return requests_;
}

void LoopbackServer::serve() {
  const host::SigpipeBlocker quiet;
  while (!stop_) {
    std::vector<pollfd> sockets{readable(listener_)};
    for (const auto& [socket, connection] : connections_) sockets.push_back(readable(socket));
    poll(sockets.data(), sockets.size(), kMomentMilliseconds);
    if (sockets[0].revents != 0) {
      const auto socket = static_cast<int>(accept(listener_, nullptr, nullptr));
      ++accepted_;
      if (auto stream = open_(socket))
        connections_[socket] = {std::move(stream), accepted_, {}, {}};
    }
    for (std::size_t i = 1; i < sockets.size(); ++i) {
      const auto socket = static_cast<int>(sockets[i].fd);
      Connection& connection = connections_[socket];
      const bool stays = sockets[i].revents != 0 ? receive(connection) : sendNext(connection);
      if (!stays) connections_.erase(socket);
    }
  }
}

bool LoopbackServer::receive(Connection& connection) {
  std::string& received = connection.received;
  const std::string some = connection.stream->receive();
  received += some;
  const std::size_t end = received.find("\r\n\r\n");
  const bool isWhole = end < received.size();
  if (!isWhole && (!some.empty() || received.empty())) return !some.empty();
  {
    const std::lock_guard lock(mutex_);
    requests_.push_back({isWhole ? received.substr(0, end + 2) : received, connection.number});
    if (!isWhole) return false;
    connection.reply = script_ ? script_(requests_.back().head) : RawReply{};
  }
  received.erase(0, end + 4);
  return sendNext(connection);
}

bool LoopbackServer::sendNext(Connection& connection) {
  using enum RawReply::Then;
  auto& [pieces, then] = connection.reply;
  if (!pieces.empty()) {
    if (!connection.stream->send(pieces.front())) return false;
    if (then != repeat || pieces.size() > 1) pieces.pop_front();
  }
  if (!pieces.empty() || then == keepOpen) return true;
  if (then == reset) connection.stream->reset();
  return false;
}

}  // namespace corvo::tests
