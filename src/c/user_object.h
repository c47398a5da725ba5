// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvo/user_builder.h>

#include <optional>
#include <string>

#include "c/handle_table.h"

namespace corvo::corvo_internal::c {

/// A user of the caller's, or the one that a client lets the caller edit.
struct UserObject {
  std::optional<CorvoUser::Builder> own;
  CorvoUser::Builder* builder = nullptr;
  std::string description;
};

inline auto& users() { return tableOf<UserObject, Mark::user, false>(); }

}  // namespace corvo::corvo_internal::c
