#pragma once

#include <corvo/client.h>
#include <corvo/platform/clock.h>
#include <corvo/platform/main_queue.h>
#include <corvo/platform/time_zone.h>

#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "client/context_source.h"
#include "client/device_once.h"
#include "client/question.h"
#include "client/synchronisation.h"
#include "experiments/project.h"
#include "model/config.h"
#include "storage/storage_client.h"

namespace corvo::client {

/// The one implementation of `CorvoClient`. Keeps no state but what is derived from its stored
/// records, and that only until they change. What waits for the network holds it weakly.
class CorvoClientImpl final : public CorvoClient,
                              public std::enable_shared_from_this<CorvoClientImpl> {
 public:
  struct Parts {
    std::shared_ptr<storage::StorageClient> storage;
    std::shared_ptr<Synchronisation> synchronisation;  // on the same storage
    std::shared_ptr<Clock> clock;
    std::shared_ptr<TimeZone> timeZone;
    std::shared_ptr<MainQueue> mainQueue;
    std::shared_ptr<DeviceOnce> device;
  };
  explicit CorvoClientImpl(Parts parts);

  /// Settles the stored user at the start of the client: an initial user replaces it; one from a
  /// time without expiries gets them, a day from now.
  void settleUser(std::optional<CorvoUser> initialUser);

  void setUser(CorvoUser user) override;
  void setUserProperties(EditUser edit) override;
  void editUserProperties(EditUser edit) override;
  void clearUserProperties() override;
  void checkFlagText(std::string_view flagName, FlagSink& sink) override;
  void getUserFeatureFlagsDetails(Callback<void(FlagReport)> onSuccess, OnError onError) override;
  [[nodiscard]] std::shared_ptr<MainQueue> mainQueue() const override { return mainQueue_; }

 private:
  using ProjectPointer = std::shared_ptr<const experiments::Project>;
  using ConfigPointer = std::shared_ptr<const model::ConfigResponse>;
  using LocationPointer = std::shared_ptr<const PropertyMap>;
  using UserPointer = std::shared_ptr<const CorvoUser>;

  // A question goes through these three, each at once or after a fetch.
  void ask(Question& question);
  void locate(Question& question, const ProjectPointer& project, double now);
  void decide(Question& question, const ProjectPointer& project, const LocationPointer& location,
              double now);

  const ProjectPointer& projectOf(const ConfigPointer& config);
  const UserPointer& currentUser();
  void storeUser(const CorvoUser& user);
  void storeEdited(CorvoUser::Builder& builder, EditUser edit);

  // What a waiting question goes on with: a step of the client, unless that has been released by
  // then, or a failure.
  template <class Fetched, class Step>
  auto whenFetched(std::shared_ptr<Question> waiting, Step step);
  template <class Failure>
  auto whenFailed(std::shared_ptr<Question> waiting);

  std::shared_ptr<storage::StorageClient> storage_;
  std::shared_ptr<Synchronisation> synchronisation_;
  std::shared_ptr<Clock> clock_;
  std::shared_ptr<TimeZone> timeZone_;
  std::shared_ptr<MainQueue> mainQueue_;
  ContextSource contexts_;
  ConfigPointer config_;  // what project_ is made from
  ProjectPointer project_;
};

}  // namespace corvo::client
