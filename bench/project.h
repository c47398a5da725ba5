// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvo/user.h>

#include <cstddef>
#include <string>
#include <vector>

// A realistic project for benchmarks, and a user to whom most of it applies.

namespace corvo::bench {

/// Flags that every project contains in addition to the generated ones.
constexpr const char* kDateFlag = "seasonal-banner";        ///< two conditions, one of them a date
constexpr const char* kLayeredFlag = "layered-onboarding";  ///< two digests: layer and group
constexpr const char* kUnknownFlag = "no-such-flag-here";
constexpr const char* kExperiment = "experiment-of-feature-0006";

/// Generated flags.
constexpr const char* kRuleFlag = "feature-0003";
constexpr const char* kCarriedFlag = "feature-0006";

/// The name of a generated flag. The last digit of its number determines its kind: 0 to 5 has one
/// rule of two conditions, which both hold; 6 to 8 is carried by its own experiment, with one
/// digest; 9 is plain.
std::string flagName(std::size_t number);

/// The names of the flags with a rule, shuffled.
std::vector<std::string> shuffledRuleFlags(std::size_t flagCount);

/// The configuration document of a project with that many generated flags.
std::string projectJson(std::size_t flagCount);

/// The document of a project that has only experiments, each carrying one flag.
std::string experimentsJson(std::size_t experimentCount);

/// A project's document of about 1 MB.
const std::string& largeDocument();

/// The backend's location answer: a dozen properties.
std::string locationJson();

/// A user with ten properties.
CorvoUser user();

}  // namespace corvo::bench
