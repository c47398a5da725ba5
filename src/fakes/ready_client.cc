// SPDX-License-Identifier: Apache-2.0

#include <corvo/fakes/ready_client.h>

namespace corvo::fakes {
namespace {

/// Gives all properties the expiry of one that is set now.
CorvoUser userOf(const PropertyMap& properties, const FakePlatform& fake) {
  CorvoUser::Builder builder(fake.time, fake.timeZone);
  const std::string expiry = builder.setUserId("").corvoExpiration.at("userId");
  CorvoUser user{properties, PropertyMap()};
  for (const auto& [name, value] : properties) user.corvoExpiration->emplace(name, expiry);
  return user;
}

}  // namespace

ReadyClient::ReadyClient(const ProjectBuilder& project, const ReadyOptions& options)
    : ReadyClient(project.toJson(), options) {}

ReadyClient::ReadyClient(NonNullText configuration, const ReadyOptions& options)
    : cacheTTL_(options.cacheTTL), retryCount_(options.retryCount) {
  fake.serve(std::move(configuration), options.location);
  start(userOf(options.user, fake));
  static_cast<void>(client_->getAllUserHoldouts().get());
}

void ReadyClient::restart() {
  client_.reset();
  start(std::nullopt);
}

void ReadyClient::start(std::optional<CorvoUser> user) {
  registry_.emplace(fake.platform());
  client_ = registry_->initializeClient({.projectToken = "token",
                                         .apiURL = "https://flags.test",
                                         .initialUser = std::move(user),
                                         .cacheTTL = cacheTTL_,
                                         .retryCount = retryCount_,
                                         .tag = "test"});
}

}  // namespace corvo::fakes
