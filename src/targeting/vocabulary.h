#pragma once

#include "targeting/prepared_list.h"
#include "targeting/property_names.h"

namespace corvo::corvo_internal::targeting {

/// What the rules of a configuration have in common, found while they are prepared. Refers to the
/// texts it is given.
struct Vocabulary {
  PropertyNames names;
  PreparedLists lists;  ///< To be kept as long as conditions that were prepared with it.
};

}  // namespace corvo::corvo_internal::targeting
