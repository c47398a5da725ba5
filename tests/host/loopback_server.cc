#include "tests/host/loopback_server.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <stdexcept>
#include <utility>

namespace corvo::tests {
namespace {

constexpr int kMomentMilliseconds = 10;

}  // namespace

RawReply answer(int status, const std::string& body, const std::string& fields) {
  return {{"HTTP/1.1 " + std::to_string(status) + " Text\r\n" + fields +
           "Content-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body}};
}

LoopbackServer::LoopbackServer(Script script)
    : listener_(socket(AF_INET, SOCK_STREAM, 0)), script_(std::move(script)) {
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
  for (const auto& [socket, connection] : connections_) close(socket);
  close(listener_);
}

void LoopbackServer::say(RawReply reply) {
  const std::lock_guard lock(mutex_);
  script_ = [reply = std::move(reply)](const std::string&) { return reply; };
}

std::string LoopbackServer::url(const std::string& path) const {
  return "http:/127.0.0.1:" + port() + path;
}

std::vector<LoopbackServer::Request> LoopbackServer::requests() const {
  const std::lock_guard lock(mutex_);
  return requests_;
}

void LoopbackServer::serve() {
  while (!stop_) {
    std::vector<pollfd> sockets{{listener_, POLLIN, 0}};
    for (const auto& [socket, connection] : connections_) sockets.push_back({socket, POLLIN, 0});
    poll(sockets.data(), sockets.size(), kMomentMilliseconds);
    if (sockets[0].revents != 0) {
      connections_[accept(listener_, nullptr, nullptr)].number = ++accepted_;
    }
    for (std::size_t i = 1; i < sockets.size(); ++i) {
      const int socket = sockets[i].fd;
      Connection& connection = connections_[socket];
      const bool stays =
          sockets[i].revents != 0 ? receive(socket, connection) : sendNext(socket, connection);
      if (!stays) connections_.erase(socket);
    }
  }
}

bool LoopbackServer::receive(int socket, Connection& connection) {
  char bytes[4096];
  const ssize_t size = recv(socket, bytes, sizeof bytes, 0);
  if (size <= 0) {
    close(socket);
    return false;
  }
  connection.received.append(bytes, static_cast<std::size_t>(size));
  const std::size_t end = connection.received.find("\r\n\r\n");
  if (end == std::string::npos) return true;
  std::string head = connection.received.substr(0, end + 2);
  connection.received.erase(0, end + 4);
  {
    const std::lock_guard lock(mutex_);
    connection.reply = script_ ? script_(head) : RawReply{};
    requests_.push_back({std::move(head), connection.number});
  }
  return sendNext(socket, connection);
}

bool LoopbackServer::sendNext(int socket, Connection& connection) {
  RawReply& reply = connection.reply;
  if (!reply.pieces.empty()) {
    const std::string& piece = reply.pieces.front();
    (void)!send(socket, piece.data(), piece.size(), MSG_NOSIGNAL);
    reply.pieces.pop_front();
  }
  if (!reply.pieces.empty() || reply.then == RawReply::Then::keepOpen) return true;
  const linger atOnce{1, 0};  // makes closing a reset
  if (reply.then == RawReply::Then::reset) {
    setsockopt(socket, SOL_SOCKET, SO_LINGER, &atOnce, sizeof atOnce);
  }
  close(socket);
  return false;
}

}  // namespace corvo::tests
