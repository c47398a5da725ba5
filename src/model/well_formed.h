#pragma once

#include <corvo/user.h>

#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

// At the door, texts of the application are made well-formed UTF-8. Of names that become the same
// the first counts.

namespace corvo::corvo_internal::model {

/// Whether a user reads as the well-formed one does. Of expiries only the names matter: one that is
/// ill-formed is no date, and mended it is none either.
[[nodiscard]] bool readsAsWellFormed(const CorvoUser& user);
[[nodiscard]] CorvoUser wellFormed(const CorvoUser& user);

/// The same for names and values that are only referred to. Keeps those that it had to replace.
class WellFormedProperties {
 public:
  using Property = std::pair<std::string_view, std::string_view>;

  /// The properties themselves, or those in their place, valid until the next call.
  [[nodiscard]] std::span<const Property> of(std::span<const Property> properties);

 private:
  std::vector<std::pair<std::string, std::string>> texts_;
  std::vector<Property> views_;
};

}  // namespace corvo::corvo_internal::model
