#include "placement/split_identifier.h"

#include <array>
#include <cstddef>
#include <utility>

#include "model/fields.h"

namespace corvo::corvo_internal::placement {
namespace {

using model::SplitMode;

// A split mode is written as the name of its property.
const base::HashedName& propertyOf(SplitMode mode) {
  using Texts = model::EnumTexts<SplitMode>;
  static const auto names = []<std::size_t... at>(std::index_sequence<at...>) {
    return std::array{base::HashedName(Texts::list[at].text)...};
  }
  (std::make_index_sequence<Texts::list.size()>());
  return names[static_cast<std::size_t>(mode)];
}

}  // namespace

const std::string* splitIdentifier(std::optional<model::SplitMode> splitMode,
                                   const targeting::Context& context) {
  const SplitMode mode = splitMode.value_or(SplitMode::userId);
  const std::string* own = context.findOwn(propertyOf(mode));
  if (own == nullptr && mode == SplitMode::deviceId) return context.vendorIdentifier;
  return own;
}

}  // namespace corvo::corvo_internal::placement
