// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvo/user.h>

// Texts that enter from the application become well-formed UTF-8 here. If two names become equal,
// the first one counts.

namespace corvo::corvo_internal::model {

/// Whether a user behaves as the well-formed one does. Of the expiry dates, only the names matter:
/// an ill-formed date is invalid before and after the repair.
[[nodiscard]] bool readsAsWellFormed(const CorvoUser& user);
[[nodiscard]] CorvoUser wellFormed(CorvoUser user);

}  // namespace corvo::corvo_internal::model
