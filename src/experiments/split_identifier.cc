#include "experiments/split_identifier.h"

#include "model/fields.h"

namespace corvo::experiments {

const std::string* splitIdentifier(std::optional<model::SplitMode> splitMode,
                                   const targeting::Context& context) {
  const model::SplitMode mode = splitMode.value_or(model::SplitMode::userId);
  // A split mode is written as the name of its property.
  const std::string_view name =
      model::EnumTexts<model::SplitMode>::list.at(static_cast<std::size_t>(mode));
  const std::string* own = context.user ? context.user->find(name, context.now) : nullptr;
  if (own == nullptr && mode == model::SplitMode::deviceId) return context.vendorIdentifier;
  return own;
}

}  // namespace corvo::experiments
