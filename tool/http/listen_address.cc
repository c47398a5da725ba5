// SPDX-License-Identifier: Apache-2.0

#include "tool/http/listen_address.h"

#include <boost/asio/ip/address.hpp>
#include <charconv>
#include <stdexcept>
#include <system_error>

namespace corvo::tool {
namespace {

namespace ip = boost::asio::ip;

constexpr int kMostPort = 65'535;

[[noreturn]] void refuse() {
  throw std::invalid_argument(
      "expected an IP address or localhost, and a port: 127.0.0.1:8080 or [::1]:8080");
}

int portOf(std::string_view text) {
  int port = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), port);
  if (error != std::errc() || end != text.data() + text.size()) refuse();
  if (port < 0 || port > kMostPort) refuse();
  return port;
}

std::string hostOf(std::string_view text) {
  if (text == "localhost") return "127.0.0.1";
  const bool isInBrackets = text.starts_with('[') && text.ends_with(']');
  std::string host(isInBrackets ? text.substr(1, text.size() - 2) : text);
  boost::system::error_code error;
  const ip::address address = ip::make_address(host, error);
  if (error || address.is_v6() != isInBrackets) refuse();
  return host;
}

}  // namespace

ListenAddress ListenAddress::parse(std::string_view text) {
  const std::size_t colon = text.rfind(':');
  if (colon == std::string_view::npos) refuse();
  return {hostOf(text.substr(0, colon)), portOf(text.substr(colon + 1))};
}

bool ListenAddress::isLoopback() const { return ip::make_address(host).is_loopback(); }

std::string ListenAddress::urlWith(int actualPort) const {
  const bool isV6 = host.find(':') != std::string::npos;
  return "http://" + (isV6 ? "[" + host + "]" : host) + ":" + std::to_string(actualPort);
}

}  // namespace corvo::tool
