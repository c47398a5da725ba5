#pragma once

#include <corvo/client.h>

#include <algorithm>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "fuzz/documents.h"

namespace corvo::fuzz {

using namespace corvo_internal;

template <class T>
using Outcome = std::variant<T, CorvoError>;

template <class Get>
auto outcomeOf(Get get) -> Outcome<decltype(get())> {
  try {
    return get();
  } catch (const CorvoError& error) {
    return error;
  }
}

/// The answer to a question that must have one at once.
template <class T>
Outcome<T> now(Answer<T> answer) {
  require(answer.await_ready(), "fresh copies answer at once");
  return outcomeOf([&] { return answer.get(); });
}
template <class T>
T valueNow(Answer<T> answer) {
  return std::get<T>(now(std::move(answer)));
}

using Text = std::optional<std::string>;

inline std::string textOf(const CorvoProperty& property) {
  return std::visit([](const auto& value) { return JsonValue(value).toJson(); }, property);
}

template <class List, class Field>
bool names(const List& list, std::string_view name, Field field) {
  return std::ranges::count(list, name, field) > 0;
}

/// Compares the answers of one moment, for which the client has fresh copies, with one another.
class Agreement {
 public:
  /// The configuration is the client's; null where it is not known.
  Agreement(CorvoClient& client, const model::ConfigResponse* config)
      : client_(client),
        config_(config),
        handles_(valueNow(client.getAllUserExperiments())),
        report_(valueNow(client.getUserFeatureFlagsDetails())) {}

  void check() const {
    compareSummaries();
    for (const std::string name : kNames) {
      const auto flag = now(client_.checkFlag<std::string>(name));
      const auto experiment = now(client_.getExperiment(name));
      compareReport(name, std::get_if<Text>(&flag));
      compareHandle(name, experiment);
      if (config_ == nullptr) continue;
      compareCarrier(name, flag);
      compareHoldout(name, now(client_.getHoldout(name)));
    }
  }

  /// All that it came to, as one text.
  [[nodiscard]] std::string told() const {
    std::map<std::string, std::string> all;
    for (const auto& [name, value] : report_) all[name + " reported"] = textOf(value);
    for (const auto& [type, id, group, results] : valueNow(client_.getUserExperimentsDetails())) {
      for (const auto& [name, value] : results) all[name + " in " + id] += value + ' ';
    }
    for (const std::string name : kNames) {
      const auto flag = now(client_.checkFlag<std::string>(name));
      const auto* error = std::get_if<CorvoError>(&flag);
      all[name] = error ? error->description() : std::get<Text>(flag).value();
    }
    std::string text = valueNow(client_.getAllUserExperimentsText()).value_or("none");
    for (const auto& [what, value] : all) text += '\n' + what + ": " + value;
    return text;
  }

 private:
  void compareSummaries() const {
    const auto details = valueNow(client_.getUserExperimentsDetails());
    require(details.size() == handles_.size(), "a record for every handle");
    std::vector<CorvoExperimentDetail> others;
    Text texts[3];  // of all, holdouts, others
    for (std::size_t i = 0; i < details.size(); ++i) {
      const CorvoExperimentDetail& detail = details[i];
      require(detail.id == handles_[i]->name(), "the same experiments");
      require(detail.group.index == handles_[i]->groupIndex(), "the same groups");
      compareResults(detail, *handles_[i]);
      const bool isHoldout = detail.type == "holdout";
      if (!isHoldout) others.push_back(detail);
      for (Text* text : {&texts[0], &texts[isHoldout ? 1 : 2]}) {
        const std::string before = *text ? **text + '|' : "";
        *text = before + detail.id + '.' + std::to_string(detail.group.index);
      }
    }
    require(details == valueNow(client_.getUserExperimentsDetails(true)), "the same details");
    require(others == valueNow(client_.getUserExperimentsDetails(false)), "but for holdouts");
    require(texts[0] == valueNow(client_.getAllUserExperimentsText()), "the same text");
    require(texts[0] == valueNow(client_.getAllUserExperimentsText(true)), "with holdouts");
    require(texts[1] == valueNow(client_.getAllUserHoldouts()), "of holdouts");
    require(texts[2] == valueNow(client_.getAllUserExperimentsText(false)), "without holdouts");
  }

  static void compareResults(const CorvoExperimentDetail& detail, const CorvoExperiment& handle) {
    const bool hasFlags = detail.type == "featureFlag";
    const bool hasAny = hasFlags || detail.type == "parameter";
    require(hasAny || detail.results.empty(), "no results");
    const auto valueOf = [&](std::string_view name) -> Text {
      const auto value = outcomeOf(
          [&] { return hasFlags ? handle.featureText(name).value() : handle.paramText(name); });
      const auto* text = std::get_if<0>(&value);
      return text && *text ? Text(**text) : std::nullopt;
    };
    for (const auto& [name, value] : detail.results) require(value == valueOf(name), "the value");
    for (const std::string name : kNames) {
      const bool isListed = names(detail.results, name, &CorvoExperimentDetail::Result::name);
      require(!hasAny || isListed == valueOf(name).has_value(), "every value is listed");
    }
  }

  void compareReport(const std::string& name, const Text* flag) const {
    if (const auto reported = report_.find(name); reported != report_.end()) {
      const bool isSame = flag && textOf(typedProperty(flag->value())) == textOf(reported->second);
      return require(isSame, "the report agrees with the flag");
    }
    const bool isReportable =
        config_ && names(config_->featureFlags, name, &model::FeatureFlag::name);
    require(flag == nullptr || !isReportable, "a flag with a value is reported");
  }

  [[nodiscard]] const CorvoExperiment* handleOf(std::string_view name) const {
    const auto found = std::ranges::find(handles_, name, [](auto& each) { return each->name(); });
    return found == handles_.end() ? nullptr : found->get();
  }

  void compareHandle(const std::string& name, const Outcome<CorvoExperimentPointer>& asked) const {
    const auto* found = std::get_if<CorvoExperimentPointer>(&asked);
    const CorvoExperiment* handle = handleOf(name);
    require((found && *found) == (handle != nullptr), "in the experiment or not");
    if (handle) require((*found)->groupIndex() == handle->groupIndex(), "in the same group");
    if (config_) require((found == nullptr) == named(name).empty(), "there is such an experiment");
  }

  [[nodiscard]] std::vector<const model::Experiment*> named(std::string_view name) const {
    std::vector<const model::Experiment*> found;
    for (const model::Experiment& each : config_->experiments) {
      if (each.name == name) found.push_back(&each);
    }
    return found;
  }

  // A group of the first experiment that carries a flag decides it.
  void compareCarrier(const std::string& name, const Outcome<Text>& flag) const {
    const auto carrier = std::ranges::find_if(config_->experiments, [&](const auto& each) {
      return names(each.featureFlags, name, &model::FeatureFlag::name);
    });
    if (carrier == config_->experiments.end() || named(carrier->name).size() > 1) return;
    const CorvoExperiment* handle = handleOf(carrier->name);
    if (handle == nullptr) return;
    require(flag == outcomeOf([&] { return handle->getFeatureValue<std::string>(name); }),
            "the flag has the value of the group");
  }

  // Whether someone is in a holdout is asked without regard to those it names itself.
  void compareHoldout(const std::string& name, const Outcome<bool>& asked) const {
    const auto all = named(name);
    const auto holdout =
        std::ranges::find(all, model::ExperimentType::holdout, &model::Experiment::type);
    require(std::holds_alternative<bool>(asked) == (holdout != all.end()),
            "there is such a holdout");
    if (holdout == all.end() || all.size() > 1) return;
    const bool isIn = std::get<bool>(asked);
    const bool isListed = handleOf(name) != nullptr;
    require(isIn || !isListed, "who is listed is in the holdout");
    if (all.front()->holdouts.empty()) require(isIn == isListed, "who is in the holdout is listed");
    for (const model::Experiment& each : config_->experiments) {
      if (!isIn || !names(each.holdouts, name, std::identity())) continue;
      require(named(each.name).size() > 1 || !handleOf(each.name), "who is held out is not in it");
    }
  }

  CorvoClient& client_;
  const model::ConfigResponse* config_;
  std::vector<CorvoExperimentPointer> handles_;
  FlagReport report_;
};

}  // namespace corvo::fuzz
