#pragma once

#include <corvo/user.h>

// At the door, texts of the application are made well-formed UTF-8. Of names that become the same
// the first counts.

namespace corvo::corvo_internal::model {

/// Whether a user reads as the well-formed one does. Of expiries only the names matter: one that is
/// ill-formed is no date, and mended it is none either.
[[nodiscard]] bool readsAsWellFormed(const CorvoUser& user);
[[nodiscard]] CorvoUser wellFormed(CorvoUser user);

}  // namespace corvo::corvo_internal::model
