// SPDX-License-Identifier: Apache-2.0

#include "tool/synthetic_users.h"

#include <corvo/json_value.h>
#include <corvo/property.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <optional>
#include <utility>

namespace corvo::tool {
namespace {

/// The names of the identifiers that every user has, and what precedes the number in their values.
constexpr std::pair<std::string_view, std::string_view> kIdentifiers[] = {
    {"userId", "user-"}, {"profileId", "profile-"}, {"deviceId", "device-"}};

/// Sums of shares such as 0.6 + 0.3 + 0.1 are not exactly 1.
constexpr double kMostShares = 1 + 1e-9;

struct Parts {
  std::string name;
  double share;
  std::string value;
};

std::optional<Parts> partsOf(const std::string& text) {
  const std::size_t equals = text.find('=');
  const std::size_t colon = text.find(':', std::min(equals, text.size()));
  if (equals == 0 || colon == std::string::npos) return std::nullopt;
  const auto share = fromCorvoString<double>(text.substr(equals + 1, colon - equals - 1));
  if (!share || !(*share >= 0 && *share <= 1)) return std::nullopt;
  return Parts{text.substr(0, equals), *share, text.substr(colon + 1)};
}

/// FNV-1a.
std::uint64_t hashOf(std::string_view name) {
  std::uint64_t hash = 0xCBF29CE484222325;
  for (const char c : name) hash = (hash ^ static_cast<unsigned char>(c)) * 0x100000001B3;
  return hash;
}

/// A number from 0 to below 1 for each user: the user's place in the sequence that SplitMix64
/// generates from the seed. Unrelated to the hash that assigns users to groups.
double drawOf(std::uint64_t seed, std::size_t user) {
  std::uint64_t mixed = seed + (user + 1) * std::uint64_t{0x9E3779B97F4A7C15};
  mixed = (mixed ^ (mixed >> 30)) * 0xBF58476D1CE4E5B9;
  mixed = (mixed ^ (mixed >> 27)) * 0x94D049BB133111EB;
  mixed ^= mixed >> 31;
  return static_cast<double>(mixed >> 11) * 0x1p-53;
}

std::string jsonOf(std::string_view text) { return JsonValue(std::string(text)).toJson(); }

}  // namespace

std::string complainAboutVariation(const std::string& text) {
  return partsOf(text) ? ""
                       : "expected NAME=SHARE:VALUE with a share from 0 to 1, such as "
                         "custom.plan=0.2:gold, not " +
                             text;
}

Variations::Variations(std::span<const std::string> texts) {
  for (const std::string& text : texts) {
    const auto [name, share, value] = partsOf(text).value();
    auto known = std::ranges::find(all_, name, &Variation::name);
    if (known == all_.end()) known = all_.insert(known, {name, hashOf(name), {}});
    const double begin = known->choices.empty() ? 0 : known->choices.back().end;
    known->choices.push_back({begin + share, value});
    if (begin + share > kMostShares) {
      throw CLI::ValidationError("--vary", "the shares of " + name + " add up to more than 1");
    }
  }
}

std::vector<std::string_view> Variations::names() const {
  std::vector<std::string_view> names;
  for (const Variation& each : all_) names.push_back(each.name);
  return names;
}

void Variations::addTo(NamedTexts& properties, std::size_t user) const {
  for (const auto& [name, seed, choices] : all_) {
    const double draw = drawOf(seed, user);
    const auto choice =
        std::ranges::find_if(choices, [draw](const Choice& each) { return draw < each.end; });
    if (choice == choices.end()) continue;
    const auto known = std::ranges::find(properties, name, &EvaluationContext::Property::first);
    if (known != properties.end()) {
      known->second = choice->value;
    } else {
      properties.emplace_back(name, choice->value);
    }
  }
}

void SyntheticUser::become(std::size_t number) {
  number_ = number;
  document_.clear();
  for (std::size_t i = 0; i < identifiers_.size(); ++i) {
    const auto& [name, prefix] = kIdentifiers[i];
    identifiers_[i].assign(prefix).append(std::to_string(number));
    document_.properties.emplace_back(name, identifiers_[i]);
  }
  variations_.addTo(document_.properties, number);
}

std::string SyntheticUser::line() const {
  std::string members;
  for (const auto& [name, value] : document_.properties) {
    members += (members.empty() ? "" : ",") + jsonOf(name) + ":" + jsonOf(value);
  }
  return "{\"id\":" + std::to_string(number_) + ",\"properties\":{" + members + "}}\n";
}

}  // namespace corvo::tool
