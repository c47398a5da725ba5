// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvo/argument.h>
#include <corvo/client.h>
#include <corvo/client_options.h>
#include <corvo/client_registry.h>
#include <corvo/export.h>
#include <corvo/host.h>

#include <cstddef>
#include <memory>
#include <optional>
#include <string_view>

namespace corvo {

/// The library's entry point: one registry of clients for the whole process, on the host's
/// platform, created on first use. The operations are those of `ClientRegistry`.
class CORVO_FACADE_EXPORT Corvo {
 public:
  Corvo() = delete;

  /// The tag for applications that need only one client.
  static constexpr std::string_view defaultClientTag = "default";

  /// Creates a client; see `ClientRegistry::initializeClient`.
  static std::shared_ptr<CorvoClient> initializeClient(ClientOptions options);
  static std::shared_ptr<CorvoClient> initializeClient(std::string_view projectToken,
                                                       std::optional<CorvoUser> initialUser,
                                                       std::string_view apiURL,
                                                       NonNegative cacheTTL, NonNegative retryCount,
                                                       std::string_view tag);

  /// The client registered under the tag, or null.
  [[nodiscard]] static std::shared_ptr<CorvoClient> getClient(std::string_view tag);
  static void getClient(std::nullptr_t) = delete;

  /// Removes the client with that tag, if there is one. Its stored records remain.
  static void removeClient(std::string_view tag);
  static void removeClient(std::nullptr_t) = delete;

  /// The host's loop, on which answers come after a fetch. The application runs or ticks it on a
  /// thread of its own choice. Null if `usePlatform` has replaced the host's platform.
  [[nodiscard]] static std::shared_ptr<HostLoop> loop();

  /// Replaces the host's platform. Call it before any other operation; afterwards it throws
  /// `std::logic_error` and changes nothing. Throws `std::invalid_argument` if a service is null.
  static void usePlatform(Platform platform);
};

}  // namespace corvo
