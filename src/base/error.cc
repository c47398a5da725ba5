// SPDX-License-Identifier: Apache-2.0

#include <corvo/error.h>
#include <corvo/result.h>

#include <array>
#include <memory>

#include "base/exceptions.h"

namespace corvo {

using namespace corvo_internal;

namespace corvo_internal {

WhatText& WhatText::operator=(const WhatText&) noexcept {
  delete text_.exchange(nullptr);
  return *this;
}

WhatText::~WhatText() { delete text_.load(std::memory_order_acquire); }

const char* WhatText::get() const noexcept {
  const std::string* text = text_.load(std::memory_order_acquire);
  return text == nullptr ? nullptr : text->c_str();
}

const char* WhatText::keep(std::string text) const {
  auto made = std::make_unique<const std::string>(std::move(text));
  const std::string* kept = nullptr;
  if (text_.compare_exchange_strong(kept, made.get(), std::memory_order_acq_rel)) {
    kept = made.release();
  }
  return kept->c_str();
}

}  // namespace corvo_internal

void corvo_internal::raise(const CorvoError& error) { base::throwOrStop(error); }

namespace {

std::string quoted(const std::string& text) { return '"' + text + '"'; }
std::string quoted(std::int64_t number) { return quoted(std::to_string(number)); }

std::string listLiteral(const std::vector<std::string>& texts) {
  std::string list = "[";
  for (const std::string& text : texts) {
    if (list.size() > 1) list += ", ";
    list += quoted(text);
  }
  return list + "]";
}

struct NetworkDescription {
  using Error = CorvoNetworkError;

  std::string operator()(const Error::IncorrectURL& e) const {
    return "Cannot build an URL object from string " + e.address;
  }
  std::string operator()(const Error::UrlError& e) const {
    return "URL request failed with " + e.localizedDescription;
  }
  std::string operator()(const Error::WrongStatusCode& e) const {
    return "URL request failed with status code " + std::to_string(e.statusCode);
  }
  std::string operator()(const Error::DecodingError& e) const {
    return "URL request succeeded, but response decoding failed with error " +
           e.localizedDescription;
  }
  std::string operator()(const Error::CustomError& e) const { return e.text; }
  std::string operator()(const Error::NoData&) const {
    return "URL request succeeded, but returned no data";
  }
};

// The part of each description that follows the common prefix.
struct Description {
  using Error = CorvoError;

  std::string operator()(const Error::InitializationOfExistingClient& e) const {
    return "Client with tag " + quoted(e.tag) + " is already initialized";
  }
  std::string operator()(const Error::RequestConfigFailed& e) const {
    return "Config request failed with error: " + e.error.description();
  }
  std::string operator()(const Error::RequestLocationFailed& e) const {
    return "Location request failed with error: " + e.error.description();
  }
  std::string operator()(const Error::FeatureFlagNotFound& e) const {
    return "Feature flag " + quoted(e.featureFlag) + " not found";
  }
  std::string operator()(const Error::FeatureFlagNoRules& e) const {
    return "Feature flag " + quoted(e.featureFlag) + " doesn't have rules";
  }
  std::string operator()(const Error::FeatureFlagRulesNotSatisfied& e) const {
    return "Feature flag " + quoted(e.featureFlag) + " doesn't have rules satisfied";
  }
  std::string operator()(const Error::ExperimentNotFound& e) const {
    return "Experiment " + quoted(e.experiment) + " not found";
  }
  std::string operator()(const Error::ExperimentGroupNotMatchingFeatureFlagGroup& e) const {
    return "Experiment " + quoted(e.experiment) + " and user group " + quoted(e.userGroup) +
           " doesn't match any group in feature flag " + quoted(e.featureFlag) + " with groups " +
           quoted(listLiteral(e.featureFlagGroups));
  }
  std::string operator()(const Error::ExperimentSplitIdNotFound& e) const {
    return "User doesn't have a split identifier for experiment " + quoted(e.experiment);
  }
  std::string operator()(const Error::ExperimentGroupIndexNotFound& e) const {
    return "Experiment " + quoted(e.experiment) + " has no group with index " + quoted(e.index);
  }
  std::string operator()(const Error::ExperimentAlreadyContainsUser& e) const {
    return "Experiment " + quoted(e.experiment) + " already has user in the experiment force list";
  }
  std::string operator()(const Error::ExperimentGroupAlreadyContainsUser& e) const {
    return "Experiment " + quoted(e.experiment) +
           " already has user in the experiment group force list with index " + quoted(e.index);
  }
  std::string operator()(const Error::HoldoutNotFound& e) const {
    return "Holdout with name " + quoted(e.holdout) + " not found";
  }
  std::string operator()(const Error::ExperimentsEmpty&) const {
    return "Experiments not found in cache";
  }
  std::string operator()(const Error::NoForceIncludedExperiments&) const {
    return "No included experiments to exclude";
  }
};

// Both indexed by case.
constexpr std::array<std::string_view, std::variant_size_v<CorvoNetworkError::Payload>>
    kNetworkNames{"incorrectURL",  "urlError",    "wrongStatusCode",
                  "decodingError", "customError", "noData"};
constexpr std::array<std::string_view, std::variant_size_v<CorvoError::Payload>> kNames{
    "initializationOfExistingClient",
    "requestConfigFailed",
    "requestLocationFailed",
    "featureFlagNotFound",
    "featureFlagNoRules",
    "featureFlagRulesNotSatisfied",
    "experimentNotFound",
    "experimentGroupNotMatchingFeatureFlagGroup",
    "experimentSplitIdNotFound",
    "experimentGroupIndexNotFound",
    "experimentAlreadyContainsUser",
    "experimentGroupAlreadyContainsUser",
    "holdoutNotFound",
    "experimentsEmpty",
    "noForceIncludedExperiments"};

template <class Names, class Case>
std::string_view nameOf(const Names& names, Case which) noexcept {
  const auto position = static_cast<std::size_t>(which);
  return position < names.size() ? names[position] : std::string_view();
}

template <class Describe, class Payload>
std::string described(const Payload& payload) {
  std::string text;
  payload.visit([&](const auto& each) { text = Describe()(each); });
  return text;
}

template <class Variant>
Variant variantOf(const OneOfThe<Variant>& payload) {
  Variant copy;
  payload.visit([&](const auto& each) { copy = each; });
  return copy;
}

template <class Error>
const char* whatOf(const Error& error, const WhatText& kept) noexcept {
  if (const char* text = kept.get()) return text;
  return base::attempt([&] { return kept.keep(error.description()); },
                       [] { return "corvo: no memory for the description of an error"; });
}

}  // namespace

// Defined here, so that including the header does not compile the members of each case.

CorvoNetworkError::CorvoNetworkError(const CorvoNetworkError&) = default;
CorvoNetworkError::CorvoNetworkError(CorvoNetworkError&&) noexcept = default;
CorvoNetworkError& CorvoNetworkError::operator=(const CorvoNetworkError&) = default;
CorvoNetworkError& CorvoNetworkError::operator=(CorvoNetworkError&&) noexcept = default;
CorvoNetworkError::~CorvoNetworkError() = default;

CorvoNetworkError::Payload CorvoNetworkError::payload() const {
  return variantOf<Payload>(payload_);
}

std::string CorvoNetworkError::description() const {
  return described<NetworkDescription>(payload_);
}

const char* CorvoNetworkError::what() const noexcept { return whatOf(*this, what_); }

bool CorvoNetworkError::operator==(const CorvoNetworkError& other) const noexcept {
  return payload_ == other.payload_;
}

CorvoError::CorvoError(const CorvoError&) = default;
CorvoError::CorvoError(CorvoError&&) noexcept = default;
CorvoError& CorvoError::operator=(const CorvoError&) = default;
CorvoError& CorvoError::operator=(CorvoError&&) noexcept = default;
CorvoError::~CorvoError() = default;

CorvoError::Payload CorvoError::payload() const { return variantOf<Payload>(payload_); }

std::string_view CorvoError::name() const noexcept { return to_string(which()); }

std::string CorvoError::description() const {
  return "Corvo warn: " + described<Description>(payload_);
}

const char* CorvoError::what() const noexcept { return whatOf(*this, what_); }

bool CorvoError::operator==(const CorvoError& other) const noexcept {
  return payload_ == other.payload_;
}

std::string_view to_string(CorvoNetworkError::Case which) noexcept {
  return nameOf(kNetworkNames, which);
}

std::string_view to_string(CorvoError::Case which) noexcept { return nameOf(kNames, which); }

}  // namespace corvo
