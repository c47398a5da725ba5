// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvo/argument.h>
#include <corvo/client_registry.h>
#include <corvo/export.h>
#include <corvo/fakes/fake_platform.h>
#include <corvo/fakes/project_builder.h>
#include <corvo/user.h>

#include <memory>
#include <optional>

namespace corvo::fakes {

/// The options of a `ReadyClient`.
struct ReadyOptions {
  /// The user's properties, with the names in conditions: "userId", "custom.plan" ... Like those of
  /// any user, they expire one day after they are set, here at the start.
  PropertyMap user = {{"userId", "user-1"}};
  /// In the form of `FakePlatform::serve`: names without "geo.".
  PropertyMap location = {};
  NonNegative cacheTTL = 300;  ///< In seconds, at least 10.
  NonNegative retryCount = 0;  ///< How many times a failed request is retried.
};

/// A client that has already loaded its project and location, on fakes of its own. It answers every
/// question before the call returns, until its cached copies expire.
///
///     fakes::ReadyClient app(fakes::project().flag("new-checkout", true));
///     CheckoutScreen screen(app.client());
///     app.fake.time->advance(300);  // the copies expire
///     app.fake.goOffline();
///
/// Use it only on the test's thread.
class CORVO_FAKES_EXPORT ReadyClient {
 public:
  /// Throws `CorvoError` if the configuration cannot be decoded, and what `toJson` and `serve`
  /// throw.
  explicit ReadyClient(const ProjectBuilder& project = {}, const ReadyOptions& options = {});
  /// With a document written by hand.
  explicit ReadyClient(NonNullText configuration, const ReadyOptions& options = {});

  /// The client, for the code under test and for the test's own questions.
  [[nodiscard]] const std::shared_ptr<CorvoClient>& client() const { return client_; }
  CorvoClient& operator*() const { return *client_; }
  CorvoClient* operator->() const { return client_.get(); }

  /// Restarts the application: creates a new client that uses the stored records of the last one.
  /// It fetches nothing until it is asked. Before the call, release your own pointers to the old
  /// client.
  void restart();

  FakePlatform fake;  ///< The client's platform.

 private:
  void start(std::optional<CorvoUser> user);

  NonNegative cacheTTL_;
  NonNegative retryCount_;
  std::optional<ClientRegistry> registry_;
  std::shared_ptr<CorvoClient> client_;
};

}  // namespace corvo::fakes
