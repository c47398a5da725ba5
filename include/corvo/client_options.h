#pragma once

#include <corvo/argument.h>
#include <corvo/user.h>

#include <optional>
#include <string>

namespace corvo {

/// The options of a new client. Texts are UTF-8. Set the fields by name:
/// `{.projectToken = "my-token", .apiURL = "https://flags.example.com"}`.
struct ClientOptions {
  /// The project's token, by which the backend knows it.
  std::string projectToken;
  /// The base address of the backend, to which "config.json" and "geo" are appended. Not validated:
  /// with an invalid address, the first question that needs the network fails.
  std::string apiURL;
  /// Replaces the stored user. Without one, the user that an earlier run stored is kept.
  std::optional<CorvoUser> initialUser = std::nullopt;
  /// How long a fetched configuration or location stays fresh, in seconds. Values below 10 become
  /// 10.
  NonNegative cacheTTL = 300;
  /// How many times a failed request is retried. Retries are immediate.
  NonNegative retryCount = 2;
  /// The name by which `getClient` finds the client. Stored records belong to the pair of tag and
  /// token.
  std::string tag = "default";
};

}  // namespace corvo
