#pragma once

#include <string>
#include <vector>

#include "model/json_tree.h"

namespace corvo::model {

/// The JSON pointers (RFC 6901) of nodes of one tree, which must be given in document order. One
/// pass over the tree for all of them.
[[nodiscard]] std::vector<std::string> pointersTo(const std::vector<const JsonNode*>& nodes,
                                                  const JsonNode& root);

}  // namespace corvo::model
