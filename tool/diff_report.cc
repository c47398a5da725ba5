// SPDX-License-Identifier: Apache-2.0

#include "tool/diff_report.h"

#include <corvo/json_value.h>
#include <corvo/property.h>

#include <algorithm>
#include <array>
#include <iterator>
#include <optional>
#include <sstream>
#include <string_view>
#include <utility>
#include <vector>

#include "base/text.h"
#include "tool/csv.h"
#include "tool/report.h"
#include "tool/text.h"

namespace corvo::tool {
namespace {

using Kind = ItemChange::Kind;

constexpr std::size_t kMostRows = 20;
constexpr std::size_t kMostShown = 240;  // of a text in a row

std::string statusOf(const ItemChange& item) {
  if (item.isInBoth()) return "both";
  return item.isInNew ? "added" : "removed";
}

std::string wordOf(const Move& move) {
  if (move.from.isThere == move.to.isThere) return move.to.isThere ? "changed" : "error";
  return move.to.isThere ? "entered" : "left";
}

// --- For people ----------------------------------------------------------------------------------

std::string inQuotes(const std::string& text) { return JsonValue(text).toJson(); }

std::string shortened(std::string_view text) {
  return corvo_internal::base::shortened(text, kMostShown);
}

std::string shownAnswer(const ItemAnswer& answer, Kind kind) {
  if (answer.isThere) return shortened(inQuotes(answer.text));
  return kind == Kind::flag ? answer.text : "(out)";
}

void addCount(std::size_t count, const char* what, std::string& text) {
  if (count > 0) text += (text.empty() ? "" : ", ") + std::to_string(count) + what;
}

std::string headingOf(const ItemChange& item) {
  const bool isFlag = item.kind == Kind::flag;
  std::string counts = item.isInBoth() ? "" : statusOf(item);
  addCount(item.changed, isFlag ? " changed" : " changed group", counts);
  addCount(item.entered, isFlag ? " gained a value" : " entered", counts);
  addCount(item.left, isFlag ? " lost the value" : " left", counts);
  std::size_t renumbered = 0;
  for (const Renumbering& each : item.renumberings) renumbered += each.users;
  addCount(renumbered, " renumbered", counts);
  return wordOf(item.kind) + " " + inQuotes(item.name) + ": " + counts;
}

std::string indented(const std::string& text) {
  std::istringstream lines(text);
  std::string all;
  for (std::string line; std::getline(lines, line);) all += "  " + line + "\n";
  return all;
}

/// The first records as an indented table; nothing if there are none.
template <class Record, class RowOf>
std::string tableOf(const std::vector<Record>& records, std::vector<std::string> columns,
                    RowOf rowOf) {
  if (records.empty()) return "";
  Report report{{}, std::move(columns), {}, {}};
  const std::size_t count = std::min(records.size(), kMostRows);
  for (std::size_t i = 0; i < count; ++i) report.rows.push_back(rowOf(records[i]));
  std::ostringstream out;
  printReport(report, Style(), out);
  if (records.size() > count) out << "... and " << records.size() - count << " more\n";
  return indented(out.str());
}

bool isWorthShowing(const ItemChange& item) {
  return !item.isInBoth() || !item.moves.empty() || !item.renumberings.empty();
}

std::string textOf(const ItemChange& item, const Style& style) {
  std::string text = style.bold(headingOf(item)) + "\n";
  text += tableOf(item.moves, {"FROM", "TO", "USERS"}, [&](const Move& move) {
    return std::vector{shownAnswer(move.from, item.kind), shownAnswer(move.to, item.kind),
                       std::to_string(move.users)};
  });
  text += tableOf(item.renumberings, {"GROUP", "OLD INDEX", "NEW INDEX", "USERS"},
                  [](const Renumbering& each) {
                    return std::vector{shortened(inQuotes(each.group)), std::to_string(each.from),
                                       std::to_string(each.to), std::to_string(each.users)};
                  });
  const bool areAllExplained = item.explained == item.changed + item.entered + item.left;
  if (!item.reasons.empty() && !areAllExplained) {
    text += "  Why, for " + std::to_string(item.explained) + " of them:\n";
  }
  return text + tableOf(item.reasons, {"USERS", "FIRST USER", "WHY"}, [](const Reason& reason) {
           return std::vector{std::to_string(reason.users), std::to_string(reason.firstUser),
                              shortened(reason.difference.text())};
         });
}

std::string summaryOf(const Comparison& comparison, bool areFlags) {
  std::array<std::size_t, 4> counts{};
  for (const ItemChange& item : comparison.items) {
    if ((item.kind == Kind::flag) != areFlags) continue;
    const std::size_t column =
        item.isInBoth() ? (isWorthShowing(item) ? 0 : 3) : (item.isInNew ? 1 : 2);
    ++counts.at(column);
  }
  std::string text;
  constexpr std::array<const char*, 4> words{" changed", " added", " removed", " unchanged"};
  for (std::size_t i = 0; i < counts.size(); ++i) addCount(counts.at(i), words.at(i), text);
  return text.empty() ? "none" : text;
}

// --- JSON ----------------------------------------------------------------------------------------

JsonValue inJson(const ItemAnswer& answer, Kind kind) {
  if (answer.isThere) return answer.text;
  if (kind != Kind::flag) return {};
  return JsonObject{{"error", answer.text}};
}

JsonObject objectOf(const Explanation::Step& step) {
  JsonObject shown = fromCorvoString<JsonObject>(step.toJson()).value();
  shown.erase("steps");
  return shown;
}

JsonValue inJson(const std::optional<Explanation::Step>& step) {
  return step ? JsonValue(objectOf(*step)) : JsonValue();
}

JsonValue inJson(const Reason& reason) {
  JsonArray within;
  for (const Explanation::Step& each : reason.difference.within) {
    JsonObject step = objectOf(each);
    step.erase("outcome");
    within.emplace_back(std::move(step));
  }
  return JsonObject{{"within", std::move(within)},
                    {"old", inJson(reason.difference.before)},
                    {"new", inJson(reason.difference.after)},
                    {"text", reason.difference.text()},
                    {"users", numberOf(reason.users)},
                    {"firstUser", numberOf(reason.firstUser)}};
}

JsonValue inJson(const ItemChange& item) {
  JsonArray moves, renumbered, why;
  for (const Move& each : item.moves) {
    moves.push_back(JsonObject{{"from", inJson(each.from, item.kind)},
                               {"to", inJson(each.to, item.kind)},
                               {"users", numberOf(each.users)}});
  }
  for (const Reason& each : item.reasons) why.push_back(inJson(each));
  JsonObject json{{"name", item.name},
                  {"status", statusOf(item)},
                  {"kept", numberOf(item.kept)},
                  {"changed", numberOf(item.changed)},
                  {"entered", numberOf(item.entered)},
                  {"left", numberOf(item.left)},
                  {"moves", std::move(moves)},
                  {"explained", numberOf(item.explained)},
                  {"why", std::move(why)}};
  if (item.kind == Kind::flag) return json;
  for (const Renumbering& each : item.renumberings) {
    renumbered.push_back(JsonObject{{"group", each.group},
                                    {"from", numberOf(each.from)},
                                    {"to", numberOf(each.to)},
                                    {"users", numberOf(each.users)}});
  }
  json.emplace("type", wordOf(item.kind));
  json.emplace("renumbered", std::move(renumbered));
  json.emplace("regrouped", numberOf(item.regrouped()));
  return json;
}

}  // namespace

std::string wordOf(Kind kind) {
  constexpr std::array<const char*, 3> words{"flag", "experiment", "holdout"};
  return words.at(static_cast<std::size_t>(kind));
}

std::string forPeople(const Comparison& comparison, const Style& style) {
  std::string text;
  for (const ItemChange& item : comparison.items) {
    if (isWorthShowing(item)) text += textOf(item, style);
  }
  return text + counted(comparison.users, "user") + "; flags: " + summaryOf(comparison, true) +
         "; experiments and holdouts: " + summaryOf(comparison, false) + "\n";
}

std::string inJson(const Comparison& comparison) {
  JsonArray flags, experiments;
  for (const ItemChange& item : comparison.items) {
    (item.kind == Kind::flag ? flags : experiments).push_back(inJson(item));
  }
  return JsonValue(JsonObject{{"users", numberOf(comparison.users)},
                              {"flags", std::move(flags)},
                              {"experiments", std::move(experiments)}})
             .toJson() +
         "\n";
}

std::string inCsv(const Comparison& comparison) {
  std::string text = csvLine(
      std::array<std::string, 7>{"kind", "name", "status", "change", "from", "to", "users"});
  for (const ItemChange& item : comparison.items) {
    std::array<std::string, 7> cells{
        wordOf(item.kind), item.name, statusOf(item), "kept", "", "", std::to_string(item.kept)};
    text += csvLine(cells);
    for (const Move& move : item.moves) {
      cells[3] = wordOf(move);
      cells[4] = move.from.text;
      cells[5] = move.to.text;
      cells[6] = std::to_string(move.users);
      text += csvLine(cells);
    }
  }
  return text;
}

}  // namespace corvo::tool
