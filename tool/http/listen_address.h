// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>

namespace corvo::tool {

/// Where a server listens.
struct ListenAddress {
  std::string host = "127.0.0.1";  ///< An IP address.
  int port = 0;                    ///< 0 picks a free one.

  /// "127.0.0.1:8080", "[::1]:8080" or "localhost:8080", which is the first one. Without an address
  /// (":8080") it would not be clear who can connect: that, other names, and ports above 65535
  /// throw `std::invalid_argument`.
  [[nodiscard]] static ListenAddress parse(std::string_view text);

  /// Whether only this machine can connect.
  [[nodiscard]] bool isLoopback() const;

  /// The address of the server with that port: "http://[::1]:8080".
  [[nodiscard]] std::string urlWith(int actualPort) const;
};

}  // namespace corvo::tool
