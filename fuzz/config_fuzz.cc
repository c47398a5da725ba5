// Configurations, written and read again: records of all kinds, and their texts when damaged.

#include "fuzz/documents.h"

namespace {

using namespace corvo::corvo_internal::model;
using corvo::fuzz::require;
using corvo::fuzz::roundTrip;

std::vector<Drop> dropsOf(const std::string& text, const ConfigResponse& expected) {
  std::vector<Drop> drops;
  const auto decoded = decodeConfig(text, drops);
  const auto* config = std::get_if<ConfigResponse>(&decoded);
  require(config && *config == expected, "the same with drops and without");
  for (const auto& [pointer, reason, node] : drops) {
    require(pointer.starts_with('/') && !reason.empty() && node > 0,
            "a drop has its place and reason");
  }
  return drops;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  corvo::fuzz::Input in({data, size});
  corvo::fuzz::Documents documents(in);
  const ConfigResponse config = documents.config();
  const auto text = encodeJson(config);
  require(text && roundTrip<ConfigResponse>(*text) == config, "all of it is written and read");

  const std::string damaged = documents.damaged(*text);
  const auto kept = roundTrip<ConfigResponse>(damaged);
  if (!kept) return 0;
  dropsOf(damaged, *kept);
  if (const auto again = encodeJson(*kept)) {
    require(dropsOf(*again, *kept).empty(), "what was kept is kept");
  }
  return 0;
}
