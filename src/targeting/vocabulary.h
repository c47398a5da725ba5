// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "base/pool.h"
#include "targeting/prepared_list.h"
#include "targeting/property_names.h"

namespace corvo::corvo_internal::targeting {

/// Data that the rules of a configuration share, collected while they are prepared. Refers to the
/// given texts. Must outlive the conditions prepared with it.
struct Vocabulary {
  base::Pool& pool;  ///< For prepared data.
  PropertyNames names = {};
  PreparedLists lists = {};
};

}  // namespace corvo::corvo_internal::targeting
