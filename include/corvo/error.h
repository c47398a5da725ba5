// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvo/callback.h>
#include <corvo/export.h>
#include <corvo/internal/one_of.h>
#include <corvo/internal/what_text.h>

#include <cstddef>
#include <cstdint>
#include <exception>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <variant>
#include <vector>

namespace corvo {

/// Why a request to the backend failed: one of six cases, each with its payload. Applications
/// receive it inside a `CorvoError`. Copyable; reading is safe from any thread.
class CORVO_EXPORT CorvoNetworkError : public std::exception {
 public:
  /// The base address and the path do not form a URI reference (RFC 3986).
  struct IncorrectURL {
    std::string address;  ///< Base address and path, joined.
    bool operator==(const IncorrectURL&) const = default;
  };
  /// The request failed in transport. Never produced by this library.
  struct UrlError {
    std::string localizedDescription;  ///< In words.
    bool operator==(const UrlError&) const = default;
  };
  /// The last response had an HTTP status outside 200 to 299.
  struct WrongStatusCode {
    int statusCode = 0;  ///< For example 404.
    bool operator==(const WrongStatusCode&) const = default;
  };
  /// The response could not be decoded as the expected type.
  struct DecodingError {
    std::string localizedDescription;  ///< In words.
    /// Where in the text the cause lies, in bytes from 0. Only `Project::decode` sets it; clients
    /// do not.
    std::optional<std::size_t> offset = {};
    bool operator==(const DecodingError&) const = default;
  };
  /// Never produced by this library.
  struct CustomError {
    std::string text;  ///< In words.
    bool operator==(const CustomError&) const = default;
  };
  /// No data came, or the transfer failed.
  struct NoData {
    bool operator==(const NoData&) const = default;
  };

  /// The cases in their order.
  enum class Case { incorrectURL, urlError, wrongStatusCode, decodingError, customError, noData };
  /// The payloads in the order of the cases.
  using Payload =
      std::variant<IncorrectURL, UrlError, WrongStatusCode, DecodingError, CustomError, NoData>;

  /// One of the payloads.
  template <class P>
  requires(corvo_internal::OneOfThe<Payload>::has<std::remove_cvref_t<P>>)
      CorvoNetworkError(P&& payload)
      : payload_(std::forward<P>(payload)) {}
  CorvoNetworkError(const CorvoNetworkError& other);
  CorvoNetworkError(CorvoNetworkError&& other) noexcept;
  CorvoNetworkError& operator=(const CorvoNetworkError& other);
  CorvoNetworkError& operator=(CorvoNetworkError&& other) noexcept;
  ~CorvoNetworkError() override;

  /// The case.
  [[nodiscard]] Case which() const noexcept { return static_cast<Case>(payload_.position()); }

  /// The payload of that case, or null if this is another case.
  template <class P>
  [[nodiscard]] const P* as() const noexcept {
    return payload_.as<P>();
  }
  /// A copy of the payload, for `std::visit`. Its position is that of the case.
  [[nodiscard]] Payload payload() const;

  /// A human-readable description, built on each call.
  [[nodiscard]] std::string description() const;

  /// The description, built on the first call.
  [[nodiscard]] const char* what() const noexcept override;

  bool operator==(const CorvoNetworkError& other) const noexcept;

 private:
  corvo_internal::OneOfThe<Payload> payload_;
  corvo_internal::WhatText what_;
};

/// The name of a case: "noData". Names never change. Empty if the value is not a case.
[[nodiscard]] CORVO_EXPORT std::string_view to_string(CorvoNetworkError::Case which) noexcept;

/// Why an operation failed: one of fifteen cases, each with its payload. Passed to `onError`;
/// thrown by the suspending forms, `initializeClient`, `Result::value` and `getFeatureValue`.
/// Copyable; reading is safe from any thread.
class CORVO_EXPORT CorvoError : public std::exception {
 public:
  /// A client is already registered under the tag.
  struct InitializationOfExistingClient {
    std::string tag;  ///< That tag.
    bool operator==(const InitializationOfExistingClient&) const = default;
  };
  /// The configuration could not be fetched.
  struct RequestConfigFailed {
    CorvoNetworkError error;  ///< Why.
    bool operator==(const RequestConfigFailed&) const = default;
  };
  /// The location could not be fetched.
  struct RequestLocationFailed {
    CorvoNetworkError error;  ///< Why.
    bool operator==(const RequestLocationFailed&) const = default;
  };
  /// No flag has that name.
  struct FeatureFlagNotFound {
    std::string featureFlag;  ///< The name of the flag.
    bool operator==(const FeatureFlagNotFound&) const = default;
  };
  /// The list of rules that decides the flag for this user is empty.
  struct FeatureFlagNoRules {
    std::string featureFlag;  ///< The name of the flag.
    bool operator==(const FeatureFlagNoRules&) const = default;
  };
  /// No rule of the flag holds for this user.
  struct FeatureFlagRulesNotSatisfied {
    std::string featureFlag;  ///< The name of the flag.
    bool operator==(const FeatureFlagRulesNotSatisfied&) const = default;
  };
  /// No experiment has that name.
  struct ExperimentNotFound {
    std::string experiment;  ///< The name of the experiment.
    bool operator==(const ExperimentNotFound&) const = default;
  };
  /// The flag that the experiment carries has no group with the name of the user's group.
  struct ExperimentGroupNotMatchingFeatureFlagGroup {
    std::string experiment;                      ///< The name of the experiment.
    std::string featureFlag;                     ///< The name of the flag.
    std::string userGroup;                       ///< The name of the group.
    std::vector<std::string> featureFlagGroups;  ///< The names of the flag's groups.
    bool operator==(const ExperimentGroupNotMatchingFeatureFlagGroup&) const = default;
  };
  /// The user has no identifier of the kind that the experiment splits by.
  struct ExperimentSplitIdNotFound {
    std::string experiment;  ///< The name of the experiment.
    bool operator==(const ExperimentSplitIdNotFound&) const = default;
  };
  /// The experiment has no group with that index.
  struct ExperimentGroupIndexNotFound {
    std::string experiment;  ///< The name of the experiment.
    std::int64_t index = 0;  ///< That index.
    bool operator==(const ExperimentGroupIndexNotFound&) const = default;
  };
  /// Never produced by this library: forcing a user who is already forced succeeds.
  struct ExperimentAlreadyContainsUser {
    std::string experiment;  ///< The name of the experiment.
    bool operator==(const ExperimentAlreadyContainsUser&) const = default;
  };
  /// Never produced by this library: forcing a user who is already forced succeeds.
  struct ExperimentGroupAlreadyContainsUser {
    std::string experiment;  ///< The name of the experiment.
    std::int64_t index = 0;  ///< That index.
    bool operator==(const ExperimentGroupAlreadyContainsUser&) const = default;
  };
  /// No holdout has that name.
  struct HoldoutNotFound {
    std::string holdout;  ///< That name.
    bool operator==(const HoldoutNotFound&) const = default;
  };
  /// The configuration holds no experiments to force the user into.
  struct ExperimentsEmpty {
    bool operator==(const ExperimentsEmpty&) const = default;
  };
  /// No forced inclusion is recorded, so none can be excluded.
  struct NoForceIncludedExperiments {
    bool operator==(const NoForceIncludedExperiments&) const = default;
  };

  /// The cases in their order.
  enum class Case {
    initializationOfExistingClient,
    requestConfigFailed,
    requestLocationFailed,
    featureFlagNotFound,
    featureFlagNoRules,
    featureFlagRulesNotSatisfied,
    experimentNotFound,
    experimentGroupNotMatchingFeatureFlagGroup,
    experimentSplitIdNotFound,
    experimentGroupIndexNotFound,
    experimentAlreadyContainsUser,
    experimentGroupAlreadyContainsUser,
    holdoutNotFound,
    experimentsEmpty,
    noForceIncludedExperiments
  };
  /// The payloads in the order of the cases.
  using Payload =
      std::variant<InitializationOfExistingClient, RequestConfigFailed, RequestLocationFailed,
                   FeatureFlagNotFound, FeatureFlagNoRules, FeatureFlagRulesNotSatisfied,
                   ExperimentNotFound, ExperimentGroupNotMatchingFeatureFlagGroup,
                   ExperimentSplitIdNotFound, ExperimentGroupIndexNotFound,
                   ExperimentAlreadyContainsUser, ExperimentGroupAlreadyContainsUser,
                   HoldoutNotFound, ExperimentsEmpty, NoForceIncludedExperiments>;

  /// One of the payloads.
  template <class P>
  requires(corvo_internal::OneOfThe<Payload>::has<std::remove_cvref_t<P>>) CorvoError(P&& payload)
      : payload_(std::forward<P>(payload)) {}
  /// One of the payloads that are a single text, constructed in place.
  template <class P>
  CorvoError(std::in_place_type_t<P> payload, std::string_view text) : payload_(payload, text) {}
  CorvoError(const CorvoError& other);
  CorvoError(CorvoError&& other) noexcept;
  CorvoError& operator=(const CorvoError& other);
  CorvoError& operator=(CorvoError&& other) noexcept;
  ~CorvoError() override;

  /// The case.
  [[nodiscard]] Case which() const noexcept { return static_cast<Case>(payload_.position()); }

  /// The payload of that case, or null if this is another case.
  template <class P>
  [[nodiscard]] const P* as() const noexcept {
    return payload_.as<P>();
  }
  /// A copy of the payload, for `std::visit`. Its position is that of the case.
  [[nodiscard]] Payload payload() const;

  /// The name of the case, as `to_string(which())`.
  [[nodiscard]] std::string_view name() const noexcept;

  /// A human-readable description, built on each call. Payload strings are inserted verbatim.
  [[nodiscard]] std::string description() const;

  /// The description, built on the first call.
  [[nodiscard]] const char* what() const noexcept override;

  bool operator==(const CorvoError& other) const noexcept;

 private:
  corvo_internal::OneOfThe<Payload> payload_;
  corvo_internal::WhatText what_;
};

/// The name of a case: "featureFlagNotFound". Names never change. Empty if the value is not a case.
[[nodiscard]] CORVO_EXPORT std::string_view to_string(CorvoError::Case which) noexcept;

/// Receives the error of a question, at most once.
using OnError = Callback<void(const CorvoError&)>;

}  // namespace corvo
