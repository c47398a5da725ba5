#include "targeting/property_layer.h"

#include <utility>

namespace corvo::targeting {

void PropertyLayer::put(const PropertyName& name, std::string_view value, double expiry) {
  if (2 * entries_.size() >= slots_.size()) grow();
  Slot& slot = slots_[slotOf(name)];
  if (slot.entry == 0) {
    entries_.push_back({std::string(name.text), {}, expiry});
    slot = {name.hash, static_cast<std::uint32_t>(entries_.size())};
  }
  Entry& entry = entries_[slot.entry - 1];
  entry.value = value;
  entry.expiry = expiry;
}

void PropertyLayer::grow() {
  std::vector<Slot> larger(2 * slots_.size());
  for (const Slot& slot : slots_) {
    if (slot.entry == 0) continue;
    std::size_t at = slot.hash;
    while (larger[at & (larger.size() - 1)].entry != 0) ++at;
    larger[at & (larger.size() - 1)] = slot;
  }
  slots_ = std::move(larger);
}

}  // namespace corvo::targeting
