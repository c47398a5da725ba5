// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvo/argument.h>
#include <corvo/user.h>

#include <optional>

namespace corvo {

namespace corvo_internal {
/// A first member that cannot be initialised by position: its default constructor is explicit, so
/// not with `{}`, and no other type converts to it. The fields behind it need their names, too.
struct FilledByName {
  explicit FilledByName() = default;
};
}  // namespace corvo_internal

/// The options of a new client. Texts are UTF-8. Set the fields by name; token and address are
/// required: `{.projectToken = "my-token", .apiURL = "https://flags.example.com"}`.
struct ClientOptions {
  /// Not an option: with it, `{"my-token", "https://flags.example.com"}` does not compile.
  corvo_internal::FilledByName filledByName = corvo_internal::FilledByName();
  /// The project's token, by which the backend knows it.
  NonNullText projectToken;
  /// The base address of the backend, to which "config.json" and "geo" are appended. Not validated:
  /// with an invalid address, the first question that needs the network fails.
  NonNullText apiURL;
  /// Replaces the stored user. Without one, the user that an earlier run stored is kept.
  /// Build it with `CorvoUser::Builder`, which sets the expiries.
  std::optional<CorvoUser> initialUser = std::nullopt;
  /// How long a fetched configuration or location stays fresh, in seconds. Values below 10 become
  /// 10.
  NonNegative cacheTTL = 300;
  /// How many times a failed request is retried. Retries are immediate.
  NonNegative retryCount = 2;
  /// The name by which `getClient` finds the client. Stored records belong to the pair of tag and
  /// token.
  NonNullText tag = "default";
};

}  // namespace corvo
