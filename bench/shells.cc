#include <corvo/client.h>

#include "bench/table.h"

namespace corvo::bench {
namespace {

/// A client that knows the answer: what is left is the cost of asking.
class ConstantClient final : public CorvoClient {
 public:
  void checkFlagText(std::string_view, FlagSink& sink) override { sink.onText("true"); }

  void setUser(CorvoUser) override {}
  void setUserProperties(EditUser) override {}
  void editUserProperties(EditUser) override {}
  void clearUserProperties() override {}
  void getUserFeatureFlagsDetails(Callback<void(FlagReport)>, OnError) override {}
  void getAllUserExperiments(Callback<void(std::vector<CorvoExperimentPointer>)>,
                             OnError) override {}
  void getAllUserExperimentsText(ExactBool, Callback<void(std::optional<std::string>)>,
                                 OnError) override {}
  void getAllUserExperimentsText(Callback<void(std::optional<std::string>)>, OnError) override {}
  void getExperiment(std::string_view, Callback<void(CorvoExperimentPointer)>, OnError) override {}
  void getHoldout(std::string_view, Callback<void(bool)>, OnError) override {}
  void getAllUserHoldouts(Callback<void(std::optional<std::string>)>, OnError) override {}
  void getUserExperimentsDetails(ExactBool, Callback<void(std::vector<CorvoExperimentDetail>)>,
                                 OnError) override {}
  void getUserExperimentsDetails(Callback<void(std::vector<CorvoExperimentDetail>)>,
                                 OnError) override {}
  void includeForce(std::string_view, OptionalIndex, Callback<void()>, OnError) override {}
  void includeForce(std::string_view, Callback<void()>, OnError) override {}
  void excludeForce(std::string_view, Callback<void()>, OnError) override {}
  void excludeForceAll(Callback<void()>, OnError) override {}
  [[nodiscard]] std::shared_ptr<MainQueue> mainQueue() const override { return nullptr; }
};

}  // namespace

void addShells() {
  addTime("the callback form alone", kNoGoal, [](benchmark::State& state) {
    const std::unique_ptr<CorvoClient> client = std::make_unique<ConstantClient>();
    for (auto _ : state) {
      client->checkFlag<bool>("f", [](std::optional<bool> on) { benchmark::DoNotOptimize(on); });
    }
  });
  addTime("the suspending form alone", kNoGoal, [](benchmark::State& state) {
    const std::unique_ptr<CorvoClient> client = std::make_unique<ConstantClient>();
    for (auto _ : state) benchmark::DoNotOptimize(client->checkFlag<bool>("f").get());
  });
}

}  // namespace corvo::bench
