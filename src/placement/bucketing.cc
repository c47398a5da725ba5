// SPDX-License-Identifier: Apache-2.0

#include "placement/bucketing.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cfloat>
#include <cmath>
#include <cstddef>
#include <limits>
#include <optional>

#include "placement/arithmetic.h"
#include "placement/observer.h"

static_assert(std::numeric_limits<double>::is_iec559 && FLT_EVAL_METHOD == 0,
              "excess precision would move users between groups");

namespace corvo::corvo_internal::placement {
namespace {

static_assert(std::bit_cast<std::uint64_t>(kBucketMultiplier) == 0x42D36B5A04000000);
static_assert(std::bit_cast<std::uint64_t>(kBucketScale) == 0x3BF0000000000000);

// Powers of the hash's multiplier: for one digit, and for the digits of one, two and four bytes.
constexpr std::uint32_t kHashFactor = 31;
constexpr std::uint32_t kByteFactor = kHashFactor * kHashFactor;
constexpr std::uint32_t kTwoBytesFactor = kByteFactor * kByteFactor;
constexpr std::uint32_t kFourBytesFactor = kTwoBytesFactor * kTwoBytesFactor;

// The hash of a byte's two digits.
constexpr auto kDigitsHash = [] {
  constexpr std::string_view kDigits = "0123456789abcdef";
  std::array<std::uint16_t, 256> hashes{};
  for (std::size_t byte = 0; byte < hashes.size(); ++byte) {
    hashes[byte] =
        static_cast<std::uint16_t>(kHashFactor * static_cast<unsigned char>(kDigits[byte / 16]) +
                                   static_cast<unsigned char>(kDigits[byte % 16]));
  }
  return hashes;
}();

double bucketOf(const base::Md5Digest& digest) { return bucketOfHash(stringHash32(digest)); }

template <class AnyObserver>
double observedBucket(std::string_view splitId, std::string_view salt, AnyObserver observer) {
  const base::Md5Digest digest = base::md5(splitId, salt);
  const double bucket = bucketOf(digest);
  observer.on(Hashed{splitId, salt, digest, bucket});
  return bucket;
}

template <class List>
bool contains(const List& list, std::string_view splitId) {
  return std::ranges::find(list, splitId) != list.end();
}

Placement placed(PlacementReason reason, model::List<model::Group> groups, std::size_t index,
                 double bucket = 0) {
  return {reason, &groups[index], static_cast<std::uint32_t>(index), bucket};
}

// The first group whose forced list contains the identifier.
std::optional<std::size_t> forcedGroupIndex(model::List<model::Group> groups,
                                            std::string_view splitId) {
  for (std::size_t i = 0; i < groups.size(); ++i) {
    if (contains(groups[i].forcedUserList, splitId)) return i;
  }
  return std::nullopt;
}

// The group whose range contains the point, or else the fallback group.
template <class AnyObserver>
std::optional<std::size_t> groupAt(double point, model::List<model::Group> groups,
                                   AnyObserver observer) {
  std::size_t index = rangeAt<AnyObserver>(point, groups, observer);
  if (index == groups.size()) index = restOf(groups);
  return index == groups.size() ? std::nullopt : std::optional(index);
}

// The group into whose range of the weights the bucket falls. A point on a boundary belongs to the
// earlier group. Forced users ignore the allocation.
template <class AnyObserver>
Placement pickGroupByWeight(const model::Experiment& experiment, bool isForced, double bucket,
                            AnyObserver observer) {
  const double magnitude = std::fabs(bucket);
  if (!isForced && !insideAllocation<AnyObserver>(experiment, magnitude, observer)) {
    return {.reason = PlacementReason::outsideAllocation, .bucket = bucket};
  }
  const double point = groupPoint(magnitude);
  observer.on(WeightsBegun{experiment, point});
  const std::optional<std::size_t> index = groupAt<AnyObserver>(point, experiment.groups, observer);
  observer.on(WeightsDecided{index});
  if (!index) return {.reason = PlacementReason::noGroup, .bucket = bucket};
  return placed(PlacementReason::bucketed, experiment.groups, *index, bucket);
}

// Without a layer, everybody is inside. A layer without bounds admits nobody.
template <class AnyObserver>
bool insideBounds(std::string_view splitId, const model::Experiment& experiment,
                  AnyObserver observer) {
  if (experiment.layerBounds.empty()) return !experiment.layerId;
  const double bucket = observedBucket<AnyObserver>(splitId, layerSalt(experiment), observer);
  const double point = layerPoint(bucket);
  return std::ranges::any_of(experiment.layerBounds, [&](const model::LayerBounds& bounds) {
    const bool isInside = admits(bounds, point);
    observer.on(IntervalTested{bounds, point, isInside});
    return isInside;
  });
}

template <class AnyObserver>
bool insideLayer(std::string_view splitId, const model::Experiment& experiment,
                 AnyObserver observer) {
  observer.on(LayerBegun{experiment});
  const bool isInside = insideBounds<AnyObserver>(splitId, experiment, observer);
  observer.on(LayerDecided{isInside});
  return isInside;
}

// The result of the forced lists. A group's list takes precedence over the experiment's.
struct Forced {
  std::optional<std::size_t> group;
  bool intoExperiment = false;
};

Forced forced(std::string_view splitId, const model::Experiment& experiment,
              const project::ForcedLists* lists) {
  if (lists == nullptr) {
    const auto group = forcedGroupIndex(experiment.groups, splitId);
    return {group, !group && contains(experiment.forcedUserList, splitId)};
  }
  const std::uint32_t found = lists->find(splitId);
  if (found == project::ForcedLists::kNone) return {};
  if (found == experiment.groups.size()) return {std::nullopt, true};
  return {found, false};
}

template <class AnyObserver>
Placement assign(std::string_view splitId, const model::Experiment& experiment, const Known& known,
                 AnyObserver observer) {
  const auto [index, isForced] = forced(splitId, experiment, known.forced);
  observer.on(GroupsForced{experiment, index});
  if (index) return placed(PlacementReason::forcedIntoGroup, experiment.groups, *index);
  observer.on(ExperimentForced{isForced});
  if (!isForced && !insideLayer<AnyObserver>(splitId, experiment, observer)) {
    return {.reason = PlacementReason::outsideLayer};
  }
  const double value = known.bucket != nullptr
                           ? *known.bucket
                           : observedBucket<AnyObserver>(splitId, experiment.salt, observer);
  Placement placement = pickGroupByWeight<AnyObserver>(experiment, isForced, value, observer);
  if (isForced && placement.group) placement.reason = PlacementReason::forcedIntoExperiment;
  return placement;
}

}  // namespace

// Hashes four bytes at a time: a chain of four steps instead of 32.
std::int32_t stringHash32(const base::Md5Digest& digest) noexcept {
  std::uint32_t hash = 0;
  for (std::size_t i = 0; i < digest.size(); i += 4) {
    const auto pair = [&](std::size_t at) {
      return kDigitsHash[digest[at]] * kByteFactor + kDigitsHash[digest[at + 1]];
    };
    hash = hash * kFourBytesFactor + pair(i) * kTwoBytesFactor + pair(i + 2);
  }
  return static_cast<std::int32_t>(hash);
}

double bucketValue(std::string_view splitId, std::string_view salt) noexcept {
  return bucketOf(base::md5(splitId, salt));
}

Buckets bucketValues(const std::array<base::Md5Message, base::kMd5Lanes>& messages) noexcept {
  const auto digests = base::md5OfEach(messages);
  Buckets buckets{};
  std::ranges::transform(digests, buckets.begin(), bucketOf);
  return buckets;
}

Placement assignGroup(std::string_view splitId, const model::Experiment& experiment,
                      const Known& known) {
  return assign<NoObserver>(splitId, experiment, known, {});
}

Placement assignGroup(std::string_view splitId, const model::Experiment& experiment,
                      Observer& observer) {
  return assign<Observer&>(splitId, experiment, {}, observer);
}

}  // namespace corvo::corvo_internal::placement
