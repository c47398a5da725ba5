// SPDX-License-Identifier: Apache-2.0

#include "project/document.h"

#include <algorithm>
#include <iterator>

#include "project/platform_filter.h"

namespace corvo::corvo_internal::project {
namespace {

template <class R>
std::vector<Placed<R>> ours(const std::vector<Placed<R>>& all) {
  std::vector<Placed<R>> kept;
  std::ranges::copy_if(all, std::back_inserter(kept),
                       [](Placed<R> each) { return isForThisPlatform(*each); });
  return kept;
}

}  // namespace

Document::Document(std::string_view text) : tree_(text), root_(tree_.root()), decoder_(&dropped_) {
  if (root_ == nullptr || !decoder_.read(*root_, config_)) return;
  isConfiguration_ = true;
  std::ranges::sort(dropped_, {}, &model::DroppedNode::node);
  flags_ = list(config(), &model::ConfigResponse::featureFlags);
  experiments_ = list(config(), &model::ConfigResponse::experiments);
  keptFlags_ = ours(flags_);
  keptExperiments_ = ours(experiments_);
}

bool Document::isDropped(const json::JsonNode& element) const {
  return std::ranges::binary_search(dropped_, &element, {}, &model::DroppedNode::node);
}

}  // namespace corvo::corvo_internal::project
