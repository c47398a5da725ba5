// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "json/json_tree.h"

namespace corvo::corvo_internal::json {

/// Extends a JSON pointer (RFC 6901) by one step: a key, or the index of an element.
void appendToken(std::string& pointer, std::string_view token);

/// The JSON pointers (RFC 6901) of nodes of one tree, which must be given in document order. Takes
/// one pass over the tree.
[[nodiscard]] std::vector<std::string> pointersTo(const std::vector<const JsonNode*>& nodes,
                                                  const JsonNode& root);

}  // namespace corvo::corvo_internal::json
