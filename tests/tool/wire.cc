// SPDX-License-Identifier: Apache-2.0

#include "tests/tool/wire.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cstdint>
#include <stdexcept>
#include <utility>

namespace corvo::tool {

Wire::Wire() : socket_(socket(AF_INET, SOCK_STREAM, 0)) {
  if (socket_ < 0) throw std::runtime_error("no socket");
}

Wire::Wire(Wire&& other) noexcept
    : socket_(std::exchange(other.socket_, -1)), received_(std::move(other.received_)) {}

Wire::~Wire() {
  if (socket_ >= 0) close(socket_);
}

void Wire::connect(int port) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  address.sin_port = htons(static_cast<std::uint16_t>(port));
  if (::connect(socket_, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0) {
    throw std::runtime_error("not connected");
  }
}

void Wire::send(std::string_view bytes) const {
  while (!bytes.empty()) {
    const auto size = ::send(socket_, bytes.data(), bytes.size(), MSG_NOSIGNAL);
    if (size <= 0) return;
    bytes.remove_prefix(static_cast<std::size_t>(size));
  }
}

void Wire::finish() const { shutdown(socket_, SHUT_WR); }

std::string Wire::receive(std::string_view until) {
  constexpr int kMinute = 60'000;
  while (until.empty() || received_.find(until) == std::string::npos) {
    pollfd polled{socket_, POLLIN, 0};
    if (poll(&polled, 1, kMinute) != 1) return std::exchange(received_, {}) + "[nothing came]";
    std::array<char, 4096> bytes{};
    const auto size = recv(socket_, bytes.data(), bytes.size(), 0);
    if (size < 0) received_ += "[reset]";
    if (size <= 0) return std::exchange(received_, {});
    received_.append(bytes.data(), static_cast<std::size_t>(size));
  }
  const std::size_t end = received_.find(until) + until.size();
  const std::string first = received_.substr(0, end);
  received_.erase(0, end);
  return first;
}

}  // namespace corvo::tool
