#pragma once

#include <corvo/user.h>

#include <cstddef>
#include <string>
#include <vector>

// A realistic project to measure with, and a user whom most of it applies to.

namespace corvo::bench {

/// Flags that are in every project beside the generated ones.
constexpr const char* kDateFlag = "seasonal-banner";        ///< two conditions, one of them a date
constexpr const char* kLayeredFlag = "layered-onboarding";  ///< two digests: layer and group
constexpr const char* kUnknownFlag = "no-such-flag-here";
constexpr const char* kExperiment = "experiment-of-feature-0006";

/// Generated ones.
constexpr const char* kRuleFlag = "feature-0003";
constexpr const char* kCarriedFlag = "feature-0006";

/// The name of a generated flag. By the last digit of its number: 0 to 5 has one rule of two
/// conditions, both of which hold; 6 to 8 is carried by an experiment of its own, with one digest;
/// 9 is plain.
std::string flagName(std::size_t number);

/// The names of the flags with a rule, in an order without order.
std::vector<std::string> shuffledRuleFlags(std::size_t flagCount);

/// The configuration document of a project of that many generated flags.
std::string projectJson(std::size_t flagCount);

/// That of a project of experiments alone, each carrying one flag.
std::string experimentsJson(std::size_t experimentCount);

/// A project's document of about 1 MB.
const std::string& largeDocument();

/// The answer of the location route: a dozen properties.
std::string locationJson();

/// A user with ten properties.
CorvoUser user();

}  // namespace corvo::bench
