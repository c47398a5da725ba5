// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvo/property.h>
#include <corvo/text_hash.h>

#include <functional>
#include <string>
#include <unordered_map>

namespace corvo {

/// The typed value of every flag that has one for the user, by the flag's name. Can be searched by
/// `std::string_view`.
using FlagReport = std::unordered_map<std::string, CorvoProperty, TextHash, std::equal_to<>>;

}  // namespace corvo
