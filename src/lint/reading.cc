// SPDX-License-Identifier: Apache-2.0

#include <algorithm>
#include <array>
#include <string>
#include <vector>

#include "base/nearest_word.h"
#include "json/json_pointer.h"
#include "lint/checks.h"
#include "project/platform_filter.h"

namespace corvo::corvo_internal::lint {
namespace {

using model::DroppedNode;
using model::ReadFailure;

template <model::TextEnum E>
void suggestOf(const ReadFailure& failure, std::string_view& best) {
  if (failure.detail != model::EnumTexts<E>::what) return;
  std::vector<std::string_view> texts;
  texts.reserve(model::EnumTexts<E>::list.size());
  for (const auto& [value, text] : model::EnumTexts<E>::list) texts.push_back(text);
  best = base::nearestWord(failure.node->text(), texts);
}

// The word of an enumeration that an unknown one was probably meant to be.
std::string suggestion(const ReadFailure& failure) {
  if (failure.why != ReadFailure::Why::unknownValue) return "";
  std::string_view best;
  suggestOf<model::ConditionSign>(failure, best);
  suggestOf<model::ConditionalStatement>(failure, best);
  suggestOf<model::SplitMode>(failure, best);
  return didYouMean(best);
}

// Elements of tolerant lists are records and strings, so only a list itself is expected to be an
// array.
bool isAbsorbedList(const DroppedNode& drop) {
  return drop.failure.node == drop.node && drop.failure.detail == "array";
}

void reportDrop(const DroppedNode& drop, const std::string& cause, Report& report) {
  const std::string reason = withinLine(drop.failure.reason());
  if (isAbsorbedList(drop)) {
    report.add(Code::holdoutsNotAList, *drop.node,
               reason + ": the experiment is read as if it named no holdouts");
    return;
  }
  const std::string place = drop.failure.node == drop.node ? "" : " at " + cause;
  report.add(Code::droppedElement, *drop.node,
             "dropped: " + reason + place + suggestion(drop.failure));
}

void checkDrops(const Document& document, Report& report) {
  // In document order, because dropped elements do not contain each other.
  std::vector<const JsonNode*> causes;
  for (const DroppedNode& drop : document.dropped()) causes.push_back(drop.failure.node);
  const auto pointers = json::pointersTo(causes, *document.root());
  for (std::size_t i = 0; i < causes.size(); ++i) {
    reportDrop(document.dropped()[i], pointers[i], report);
  }
}

// Names of other platforms are not mistakes. These, however, can only be meant for this client.
std::string_view meantPlatform(std::string_view platform) {
  constexpr std::string_view kBlanks = " \t\n\r";
  constexpr std::array<std::string_view, 3> kOurs{"all", "ios", "app"};
  const std::size_t start = platform.find_first_not_of(kBlanks);
  if (start == std::string_view::npos) return "all";
  platform = platform.substr(start, platform.find_last_not_of(kBlanks) + 1 - start);
  const auto sameLetters = [&](std::string_view word) {
    return std::ranges::equal(platform, word,
                              [](char a, char b) { return a == b || (a | 0x20) == b; });
  };
  const auto found = std::ranges::find_if(kOurs, sameLetters);
  return found != kOurs.end() ? *found : std::string_view();
}

void checkPlatform(std::string_view platform, const JsonNode& node, Report& report) {
  const std::string_view meant = meantPlatform(platform);
  if (meant.empty()) return;
  report.add(Code::platformMisspelled, node,
             "clients drop the platform " + quoted(platform) + didYouMean(meant));
}

// "platform" counts only if the other key is missing. It may be present for older clients; then the
// list contains it, too.
void checkIgnored(const Document& document, Placed<model::Experiment> experiment, Report& report) {
  const JsonNode* list = lastMember(*experiment.node, "platforms");
  const JsonNode* single = lastMember(*experiment.node, "platform");
  if (list == nullptr || list->kind == JsonKind::null) return;
  if (single == nullptr || single->kind == JsonKind::null) return;
  const auto platforms = document.list(experiment, &model::Experiment::platforms);
  const bool isListed = std::ranges::any_of(platforms, [&](Placed<model::Text> platform) {
    return single->kind == JsonKind::string && single->text() == platform->view();
  });
  if (isListed) return;
  report.add(Code::platformIgnored, *single,
             R"("platform" is ignored, because "platforms" is present and does not list it)");
}

void checkPlatforms(const Document& document, Report& report) {
  for (const auto flag : document.flags()) {
    if (project::isForThisPlatform(*flag)) continue;
    checkPlatform(*flag->platform, document.place(flag, &model::FeatureFlag::platform), report);
  }
  for (const auto experiment : document.experiments()) {
    checkIgnored(document, experiment, report);
    if (project::isForThisPlatform(*experiment)) continue;
    for (const auto platform : document.list(experiment, &model::Experiment::platforms)) {
      checkPlatform(*platform, *platform.node, report);
    }
  }
}

template <class Records>
void checkKept(const Records& all, const Records& kept, const JsonNode& list, const char* what,
               Report& report) {
  if (all.empty() || !kept.empty()) return;
  report.add(Code::platformDropsAll, list,
             std::string("clients drop all of these ") + what + ": none is for their platform");
}

}  // namespace

void checkReading(const Document& document, Report& report) {
  checkDrops(document, report);
  checkPlatforms(document, report);
  const auto config = document.config();
  checkKept(document.flags(), document.keptFlags(),
            document.place(config, &model::ConfigResponse::featureFlags), "flags", report);
  checkKept(document.experiments(), document.keptExperiments(),
            document.place(config, &model::ConfigResponse::experiments), "experiments", report);
}

}  // namespace corvo::corvo_internal::lint
