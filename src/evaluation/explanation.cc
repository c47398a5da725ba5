// SPDX-License-Identifier: Apache-2.0

#include <corvo/explanation.h>

#include <algorithm>
#include <array>
#include <cstddef>

#include "json/json_writer.h"
#include "model/config.h"

namespace corvo {

using namespace corvo_internal;

namespace {

template <class E>
struct Words {
  E value;
  std::string_view inJson;
  std::string_view forPeople;
};

using C = Explanation::Code;
constexpr std::array<Words<C>, 18> kCodes{{
    {C::flag, "flag", "flag"},
    {C::experiment, "experiment", "experiment"},
    {C::splitIdentifier, "splitIdentifier", "split identifier"},
    {C::holdout, "holdout", "holdout"},
    {C::forcedGroup, "forcedGroup", "forced into a group"},
    {C::forcedExperiment, "forcedExperiment", "forced into the experiment"},
    {C::layer, "layer", "layer"},
    {C::interval, "interval", "interval"},
    {C::bucket, "bucket", "bucket"},
    {C::allocation, "allocation", "allocation"},
    {C::group, "group", "group"},
    {C::share, "share", "share"},
    {C::targets, "targets", "targets"},
    {C::carriedFlag, "carriedFlag", "the flag's rules for the group"},
    {C::rules, "rules", "rules"},
    {C::rule, "rule", "rule"},
    {C::condition, "condition", "condition"},
    {C::value, "value", "value"},
}};
using O = Explanation::Outcome;
constexpr std::array<Words<O>, 10> kOutcomes{{
    {O::done, "done", ""},
    {O::found, "found", "found"},
    {O::notFound, "notFound", "not found"},
    {O::expired, "expired", "expired"},
    {O::in, "in", "in"},
    {O::out, "out", "out"},
    {O::holds, "holds", "holds"},
    {O::fails, "fails", "does not hold"},
    {O::rest, "rest", "takes the rest"},
    {O::notReached, "notReached", "not reached"},
}};
constexpr auto kValueOf = [](const auto& row) { return row.value; };
static_assert(model::isByEnumerator(kCodes, kValueOf) &&
              model::isByEnumerator(kOutcomes, kValueOf));

const Words<C>& wordsOf(C code) { return kCodes.at(static_cast<std::size_t>(code)); }
const Words<O>& wordsOf(O outcome) { return kOutcomes.at(static_cast<std::size_t>(outcome)); }

std::string_view wordOf(Explanation::Question question) {
  return question == Explanation::Question::flag ? "flag" : "experiment";
}

void write(const Explanation::Step& step, json::JsonWriter& out);

void write(const std::vector<Explanation::Step>& steps, json::JsonWriter& out) {
  out.beginArray();
  for (const Explanation::Step& step : steps) write(step, out);
  out.endArray();
}

void write(const Explanation::Step& step, json::JsonWriter& out) {
  out.beginObject();
  out.key("code");
  out.string(wordsOf(step.code).inJson);
  out.key("outcome");
  out.string(wordsOf(step.outcome).inJson);
  out.key("facts");
  out.beginObject();
  for (const Explanation::Fact& fact : step.facts) {
    out.key(fact.name);
    out.value(fact.value);
  }
  out.endObject();
  out.key("steps");
  write(step.steps, out);
  out.endObject();
}

// Names in a document may contain any characters, including line breaks.
std::string onOneLine(std::string_view text) {
  std::string line;
  for (const char c : text) {
    const std::string one(1, c);
    const std::string escaped = JsonValue(one).toJson();
    line += c == '"' || c == '\\' ? one : escaped.substr(1, escaped.size() - 2);
  }
  return line;
}

void addLines(const Explanation::Step& step, const std::string& indent, std::string& text) {
  text.append(indent).append(wordsOf(step.code).forPeople);
  const std::string_view outcome = wordsOf(step.outcome).forPeople;
  if (!outcome.empty()) text.append(": ").append(outcome);
  std::string_view separator = " (";
  for (const Explanation::Fact& fact : step.facts) {
    text.append(separator).append(fact.name).append(" ").append(fact.value.toJson());
    separator = ", ";
  }
  text += step.facts.empty() ? "\n" : ")\n";
  for (const Explanation::Step& each : step.steps) addLines(each, indent + "  ", text);
}

}  // namespace

std::string_view textOf(Explanation::Code code) noexcept { return wordsOf(code).inJson; }
std::string_view textOf(Explanation::Outcome outcome) noexcept { return wordsOf(outcome).inJson; }

const JsonValue* Explanation::Step::find(std::string_view fact) const noexcept {
  const auto found = std::ranges::find(facts, fact, &Fact::name);
  return found == facts.end() ? nullptr : &found->value;
}

std::string Explanation::Step::toJson() const {
  json::JsonWriter out;
  write(*this, out);
  return out.take();
}

std::string Explanation::Step::toText() const {
  std::string text;
  addLines(*this, "", text);
  return text;
}

std::string Explanation::toJson() const {
  json::JsonWriter out;
  out.beginObject();
  out.key("question");
  out.string(wordOf(question));
  out.key("name");
  out.string(name);
  out.key("value");
  value ? out.string(*value) : out.null();
  out.key("error");
  if (error) {
    out.beginObject();
    out.key("code");
    out.string(error->name());
    out.key("message");
    out.string(error->description());
    out.endObject();
  } else {
    out.null();
  }
  out.key("steps");
  write(steps, out);
  out.endObject();
  return out.take();
}

std::string Explanation::toText() const {
  std::string text(wordOf(question));
  text.append(" ").append(JsonValue(name).toJson()).append(": ");
  if (error) {
    text += onOneLine(error->description());
  } else if (value) {
    text += JsonValue(*value).toJson();
  } else {
    text += "the user is not in it";
  }
  text += '\n';
  for (const Step& each : steps) addLines(each, "  ", text);
  return text;
}

}  // namespace corvo
