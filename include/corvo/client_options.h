#pragma once

#include <corvo/argument.h>
#include <corvo/user.h>

#include <optional>

namespace corvo {

namespace corvo_internal {
/// A first member that nothing initialises: what has one is filled by name, not by position.
struct FilledByName {
  explicit FilledByName() = default;
};
}  // namespace corvo_internal

/// What a new client is given. Texts are UTF-8. To be filled by name:
/// `{.projectToken = "my-token", .apiURL = "https://flags.example.com"}`.
struct ClientOptions {
  /// Not an option: with it, `{"my-token", "https://flags.example.com"}` does not compile.
  corvo_internal::FilledByName filledByName = corvo_internal::FilledByName();
  /// The project's token, which the backend knows.
  NonNullText projectToken;
  /// The base address of the backend, under which "config.json" and "geo" lie. Not validated: a bad
  /// address fails the first question that needs the network.
  NonNullText apiURL;
  /// Replaces the stored user. Without one, the user that an earlier run stored is kept.
  std::optional<CorvoUser> initialUser = std::nullopt;
  /// How long a fetched configuration or location is used, in seconds. At least 10: less
  /// becomes 10.
  NonNegative cacheTTL = 300;
  /// How many times a failed request is retried. Retries are immediate.
  NonNegative retryCount = 2;
  /// The name under which `getClient` finds the client; stored records belong to tag and token.
  NonNullText tag = "default";
};

}  // namespace corvo
