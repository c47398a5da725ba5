#pragma once

#include "base/pool.h"
#include "targeting/prepared_list.h"
#include "targeting/property_names.h"

namespace corvo::corvo_internal::targeting {

/// What the rules of a configuration have in common, found while they are prepared. Refers to the
/// texts it is given. All of it is to be kept as long as conditions that were prepared with it.
struct Vocabulary {
  base::Pool& pool;  ///< For what is prepared.
  PropertyNames names = {};
  PreparedLists lists = {};
};

}  // namespace corvo::corvo_internal::targeting
