// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvo/argument.h>
#include <corvo/client.h>
#include <corvo/client_options.h>
#include <corvo/export.h>
#include <corvo/platform/platform.h>

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace corvo {

namespace corvo_internal::api {
class Clients;
}  // namespace corvo_internal::api

/// The clients of an application by tag, all on one platform. Facts that do not change during a run
/// (the application's version, the device's identifier) are read once per registry. Any thread may
/// use a registry. A lock guards it; the lock is never held while the store is used.
class CORVO_EXPORT ClientRegistry {
 public:
  /// Throws `std::invalid_argument` if a service of the platform is null.
  explicit ClientRegistry(Platform platform);
  ~ClientRegistry();
  ClientRegistry(const ClientRegistry&) = delete;
  ClientRegistry& operator=(const ClientRegistry&) = delete;

  /// Creates a client and registers it under its tag. Fetches nothing, and does not check token or
  /// address. The client uses the records that an earlier run stored under the same tag and token.
  /// An initial user replaces the stored one.
  ///
  /// Throws `CorvoError` with `initializationOfExistingClient` if the tag is taken, even if another
  /// thread is only just creating that client.
  std::shared_ptr<CorvoClient> initializeClient(ClientOptions options);

  /// The same with positional arguments and without defaults; see `ClientOptions`.
  std::shared_ptr<CorvoClient> initializeClient(std::string_view projectToken,
                                                std::optional<CorvoUser> initialUser,
                                                std::string_view apiURL, NonNegative cacheTTL,
                                                NonNegative retryCount, std::string_view tag);

  /// The client registered under the tag, or null; also null while another thread is creating it.
  [[nodiscard]] std::shared_ptr<CorvoClient> getClient(std::string_view tag) const;
  void getClient(std::nullptr_t) const = delete;

  /// Removes the client with that tag, if there is one. Its stored records remain, and code that
  /// holds the client can go on using it.
  void removeClient(std::string_view tag);
  void removeClient(std::nullptr_t) = delete;

 private:
  std::unique_ptr<corvo_internal::api::Clients> clients_;
};

}  // namespace corvo
