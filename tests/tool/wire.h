// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>

namespace corvo::tool {

/// The client's end of a connection to a port of this machine, byte by byte.
class Wire {
 public:
  /// Connects at once, or later by `connect`. Throws if that fails.
  explicit Wire(int port) : Wire() { connect(port); }
  Wire();
  Wire(Wire&& other) noexcept;
  Wire& operator=(Wire&&) = delete;
  ~Wire();

  void connect(int port);
  /// Sends as much as the server takes.
  void send(std::string_view bytes) const;
  /// Says that nothing more comes.
  void finish() const;

  /// All bytes until the server closes, or until these have arrived. Waits for a minute, and says
  /// so in place of what is missing.
  std::string receive(std::string_view until = {});

 private:
  int socket_;
  std::string received_;
};

}  // namespace corvo::tool
