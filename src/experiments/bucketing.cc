#include "experiments/bucketing.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cfloat>
#include <cmath>
#include <limits>
#include <string>

#include "base/stop_process.h"

static_assert(std::numeric_limits<double>::is_iec559 && FLT_EVAL_METHOD == 0,
              "excess precision would move users between groups");

namespace corvo::experiments {
namespace {

using Reason = PlacementReason;

constexpr double kBucketMultiplier = 85407170560000.0;
constexpr double kBucketScale = 0x1p-64;
static_assert(std::bit_cast<std::uint64_t>(kBucketMultiplier) == 0x42D36B5A04000000);
static_assert(std::bit_cast<std::uint64_t>(kBucketScale) == 0x3BF0000000000000);

constexpr double kPercent = 100.0;
constexpr double kLayerDivisor = 10.0;
constexpr std::string_view kDefaultLayerSalt = "sad";
constexpr std::string_view kFallbackGroup = "a";

// What each digit counts in the hash: the last one 1, the one before it 31, modulo 2^32.
constexpr auto kPowersOf31 = [] {
  std::array<std::uint32_t, std::tuple_size_v<base::Md5Hex>> powers{};
  std::uint32_t power = 1;
  for (auto at = powers.rbegin(); at != powers.rend(); ++at, power *= 31) *at = power;
  return powers;
}();

template <class List>
bool contains(const List& list, std::string_view splitId) {
  return std::ranges::find(list, splitId) != list.end();
}

Placement placed(Reason reason, const std::vector<model::Group>& groups, std::size_t index,
                 double bucket = 0) {
  return {reason, &groups[index], static_cast<std::uint32_t>(index), bucket};
}

// The first group whose share ends at the point or beyond it, else the one that takes the rest.
std::optional<std::size_t> groupAt(double point, const std::vector<model::Group>& groups) {
  double cumulative = 0;
  for (std::size_t i = 0; i < groups.size(); ++i) {
    cumulative += groups[i].weight * kPercent;
    if (point <= cumulative) return i;
  }
  const auto rest = std::ranges::find(groups, kFallbackGroup, &model::Group::name);
  if (rest == groups.end()) return std::nullopt;
  return static_cast<std::size_t>(rest - groups.begin());
}

// Bounds that are not ordered, as those that are no numbers, admit nobody.
bool admits(const model::LayerBounds& bounds, double point) {
  if (bounds.lowerBound > bounds.upperBound) {
    base::stopProcess("a layer bound's lower end exceeds its upper end");
  }
  return bounds.lowerBound <= point && point <= bounds.upperBound;
}

// Without a layer everybody is inside. One that is named but has no bounds admits nobody.
bool insideLayer(std::string_view splitId, const model::Experiment& experiment) {
  if (experiment.layerBounds.empty()) return !experiment.layerId;
  const std::string_view salt = experiment.layerId ? std::string_view(*experiment.layerId)  //
                                                   : kDefaultLayerSalt;
  const double point = std::floor(std::fabs(bucketValue(splitId, salt) / kLayerDivisor));
  return std::ranges::any_of(experiment.layerBounds,
                             [&](const auto& bounds) { return admits(bounds, point); });
}

}  // namespace

// As a sum of digits times powers, whose terms do not wait for one another.
std::int32_t stringHash32(const base::Md5Digest& digest) noexcept {
  const base::Md5Hex digits = base::hexDigits(digest);
  std::uint32_t hash = 0;
  for (std::size_t i = 0; i < digits.size(); ++i) {
    hash += kPowersOf31[i] * static_cast<unsigned char>(digits[i]);
  }
  return static_cast<std::int32_t>(hash);
}

double bucketValue(std::string_view splitId, std::string_view salt) noexcept {
  const std::int32_t hash = stringHash32(base::md5(splitId, salt));
  return static_cast<double>(hash) * kBucketMultiplier * kBucketScale;
}

std::optional<std::size_t> forcedGroupIndex(const std::vector<model::Group>& groups,
                                            std::string_view splitId) noexcept {
  const auto found = std::ranges::find_if(
      groups, [&](const auto& group) { return contains(group.forcedUserList, splitId); });
  if (found == groups.end()) return std::nullopt;
  return static_cast<std::size_t>(found - groups.begin());
}

Placement pickGroupByWeight(const std::vector<model::Group>& groups, AllocationTest allocationTest,
                            double bucket, double allocation) noexcept {
  const double magnitude = std::fabs(bucket);
  if (allocationTest == AllocationTest::applied && magnitude / kPercent > allocation * kPercent) {
    return {.reason = Reason::outsideAllocation, .bucket = bucket};
  }
  const std::optional<std::size_t> index = groupAt(std::fmod(magnitude, kPercent), groups);
  if (!index) return {.reason = Reason::noGroup, .bucket = bucket};
  return placed(Reason::bucketed, groups, *index, bucket);
}

Placement assignGroup(std::string_view splitId, const model::Experiment& experiment) {
  if (const auto index = forcedGroupIndex(experiment.groups, splitId)) {
    return placed(Reason::forcedIntoGroup, experiment.groups, *index);
  }
  const auto pick = [&](AllocationTest allocationTest) {
    return pickGroupByWeight(experiment.groups, allocationTest,
                             bucketValue(splitId, experiment.salt), experiment.allocation);
  };
  if (contains(experiment.forcedUserList, splitId)) {
    Placement placement = pick(AllocationTest::skipped);
    if (placement.group) placement.reason = Reason::forcedIntoExperiment;
    return placement;
  }
  if (!insideLayer(splitId, experiment)) return {.reason = Reason::outsideLayer};
  return pick(AllocationTest::applied);
}

}  // namespace corvo::experiments
