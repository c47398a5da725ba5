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

/// What a `ReadyClient` starts with.
struct ReadyOptions {
  /// The user's properties by the names that conditions use: "userId", "custom.plan" ... They
  /// expire a day after the start, as those of any user do.
  PropertyMap user = {{"userId", "user-1"}};
  /// As `FakePlatform::serve` takes it: without "geo." before the names.
  PropertyMap location = {};
  NonNegative cacheTTL = 300;  ///< In seconds, at least 10.
  NonNegative retryCount = 0;  ///< How many times a failed request is retried.
};

/// A client that has loaded its project and location, on fakes of its own: it answers every
/// question before the call returns, until its copies expire.
///
///     fakes::ReadyClient app(fakes::project().flag("new-checkout", true));
///     CheckoutScreen screen(app.client());
///     app.fake.time->advance(300);  // the copies expire
///     app.fake.goOffline();
///
/// For the test's thread.
class CORVO_FAKES_EXPORT ReadyClient {
 public:
  /// Throws `CorvoError` when the configuration cannot be decoded.
  explicit ReadyClient(const ProjectBuilder& project = {}, const ReadyOptions& options = {});
  /// With a document written by hand.
  explicit ReadyClient(NonNullText configuration, const ReadyOptions& options = {});

  /// The client, for the code under test and for questions of the test.
  [[nodiscard]] const std::shared_ptr<CorvoClient>& client() const { return client_; }
  CorvoClient& operator*() const { return *client_; }
  CorvoClient* operator->() const { return client_.get(); }

  /// Restarts the application: a new client finds what the last one stored. Nothing is fetched
  /// until it is asked. Let go of the old client before.
  void restart();

  FakePlatform fake;  ///< What the client runs on.

 private:
  void start(std::optional<CorvoUser> user);

  NonNegative cacheTTL_;
  NonNegative retryCount_;
  std::optional<ClientRegistry> registry_;
  std::shared_ptr<CorvoClient> client_;
};

}  // namespace corvo::fakes
