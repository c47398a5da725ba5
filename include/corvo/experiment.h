// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvo/error.h>
#include <corvo/export.h>
#include <corvo/property.h>
#include <corvo/result.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace corvo {

/// An experiment that the user takes part in, with the user's group and the group's values.
///
/// A snapshot of the moment of the question: later changes (configuration, user, clock, time zone)
/// do not affect it. Reading is safe from any thread. Texts are UTF-8; invalid UTF-8 in names is
/// replaced with U+FFFD.
class CORVO_TYPE CorvoExperiment {
 public:
  virtual ~CorvoExperiment() = default;

  /// The position of the user's group among the experiment's groups, from 0; absent without a
  /// group.
  [[nodiscard]] virtual std::optional<std::int64_t> groupIndex() const = 0;

  /// The experiment's name.
  [[nodiscard]] virtual std::string name() const = 0;

  /// The name of the user's group; absent without a group.
  [[nodiscard]] virtual std::optional<std::string> userGroupName() const = 0;

  /// The value of a parameter in the user's group, as the requested type. Absent without a group,
  /// without a parameter of that name, if the first one of that name has no value for the group, or
  /// if the value's text is not valid for the type.
  template <class T>
  [[nodiscard]] std::optional<T> getParamValue(std::string_view name) const {
    return typed<T>(paramText(name));
  }

  /// The value that a carried flag has in the user's group, as the requested type.
  /// Absent without a group, if the experiment carries no flag of that name, or if the value's text
  /// is not valid for the type. Fails with `experimentGroupNotMatchingFeatureFlagGroup`,
  /// `featureFlagNoRules` or `featureFlagRulesNotSatisfied`.
  template <class T>
  [[nodiscard]] Result<std::optional<T>> featureValue(std::string_view flagName) const {
    Result<std::optional<std::string_view>> text = featureText(flagName);
    if (CorvoError* error = text.error()) return std::move(*error);
    return typed<T>(text.value());
  }

  /// The same, but throws the error; without exceptions, it aborts the process.
  template <class T>
  [[nodiscard]] std::optional<T> getFeatureValue(std::string_view flagName) const {
    return featureValue<T>(flagName).value();
  }

  /// Another name for `getFeatureValue`.
  template <class T>
  [[nodiscard]] std::optional<T> getFeatureFlagValue(std::string_view flagName) const {
    return getFeatureValue<T>(flagName);
  }

  /// The texts behind the typed values; valid as long as this object.
  [[nodiscard]] virtual std::optional<std::string_view> paramText(std::string_view name) const = 0;
  [[nodiscard]] virtual Result<std::optional<std::string_view>> featureText(
      std::string_view flagName) const = 0;

 private:
  template <class T>
  static std::optional<T> typed(std::optional<std::string_view> text) {
    return text ? fromCorvoString<T>(*text) : std::nullopt;
  }
};

/// A handle on an experiment; null if the user is not in it.
using CorvoExperimentPointer = std::shared_ptr<const CorvoExperiment>;

}  // namespace corvo
