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

/// The clients of an application by tag, all on one platform. What is read once per process (the
/// application's version, the device's identifier) is read once per registry. Any thread may use a
/// registry: a lock guards it, which is never held while the store is used.
class CORVO_EXPORT ClientRegistry {
 public:
  /// Throws `std::invalid_argument` when a service of the platform is null.
  explicit ClientRegistry(Platform platform);
  ~ClientRegistry();
  ClientRegistry(const ClientRegistry&) = delete;
  ClientRegistry& operator=(const ClientRegistry&) = delete;

  /// Creates a client and registers it under its tag. Nothing is fetched; token and address are not
  /// checked. What an earlier run stored under the same tag and token is found again. An initial
  /// user replaces the stored one.
  ///
  /// Throws `CorvoError` with `initializationOfExistingClient` when the tag is taken: by a client,
  /// or by one that another thread is just creating.
  std::shared_ptr<CorvoClient> initializeClient(ClientOptions options);

  /// The same without names and defaults; see `ClientOptions`.
  std::shared_ptr<CorvoClient> initializeClient(std::string_view projectToken,
                                                std::optional<CorvoUser> initialUser,
                                                std::string_view apiURL, NonNegative cacheTTL,
                                                NonNegative retryCount, std::string_view tag);

  /// The client registered under the tag, or null; null also while another thread is making it.
  [[nodiscard]] std::shared_ptr<CorvoClient> getClient(std::string_view tag) const;
  std::shared_ptr<CorvoClient> getClient(std::nullptr_t) const = delete;

  /// Forgets the client of the tag, if there is one. What it stored stays; whoever holds the client
  /// can go on using it.
  void removeClient(std::string_view tag);
  void removeClient(std::nullptr_t) = delete;

 private:
  std::unique_ptr<corvo_internal::api::Clients> clients_;
};

}  // namespace corvo
