#include <corvo/fakes.h>

#include <iterator>

namespace corvo::fakes {

std::int32_t FakeTimeZone::offsetAt(std::int64_t moment) const {
  const auto next = transitions_.upper_bound(moment);
  return next == transitions_.begin() ? offset_ : std::prev(next)->second;
}

void FakeTimeZone::change(std::int32_t offset, Transitions transitions) {
  offset_ = offset;
  transitions_ = std::move(transitions);
  ++identifier_;
}

}  // namespace corvo::fakes
