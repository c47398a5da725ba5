// SPDX-License-Identifier: Apache-2.0

#include "lint/report.h"

#include <algorithm>
#include <cmath>
#include <tuple>
#include <utility>

#include "base/number.h"
#include "base/text.h"
#include "json/json_places.h"
#include "json/json_pointer.h"
#include "json/json_writer.h"

namespace corvo::corvo_internal::lint {
namespace {

Finding finding(Code code, std::string message) {
  Finding made;
  made.code = rowOf(code).text;
  made.severity = rowOf(code).severity;
  made.message = std::move(message);
  return made;
}

void setPlace(Finding& finding, std::size_t place, json::LineCounter& lines) {
  finding.offset = place;
  std::tie(finding.line, finding.column) = lines.at(place);
}

}  // namespace

std::vector<Finding> Report::findings(std::string_view text, const json::JsonNode& root) && {
  if (notes_.empty()) return {};
  std::stable_sort(notes_.begin(), notes_.end(), [](const Note& a, const Note& b) {
    return std::tuple(a.place, rowOf(a.code).text) < std::tuple(b.place, rowOf(b.code).text);
  });
  std::vector<const json::JsonNode*> values;
  for (const Note& note : notes_) values.push_back(note.value);
  auto pointers = json::pointersTo(values, root);
  const json::JsonPlaces places = json::jsonPlaces(text);
  json::LineCounter lines(text);

  std::vector<Finding> findings;
  for (std::size_t i = 0; i < notes_.size(); ++i) {
    Finding& made = findings.emplace_back(finding(notes_[i].code, std::move(notes_[i].message)));
    made.pointer = std::move(pointers[i]);
    setPlace(made, places.nodes.at(static_cast<std::size_t>(notes_[i].place - &root)), lines);
  }
  return findings;
}

Finding findingAt(Code code, std::string_view text, std::size_t place, std::string message) {
  Finding made = finding(code, std::move(message));
  json::LineCounter lines(text);
  setPlace(made, place, lines);
  return made;
}

std::string quoted(std::string_view text) {
  constexpr std::size_t kLongest = 80;
  json::JsonWriter writer;
  writer.string(base::shortened(text, kLongest));
  return writer.take();
}

std::string didYouMean(std::string_view word) {
  return word.empty() ? "" : "; did you mean " + quoted(word) + "?";
}

std::string withinLine(std::string_view text) {
  constexpr std::size_t kLongest = 200;
  std::string line = base::shortened(text, kLongest);
  std::ranges::replace_if(
      line, [](char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7F; }, ' ');
  return line;
}

std::string listed(const std::vector<std::string_view>& first, std::size_t count) {
  std::string all;
  for (std::size_t i = 0; i < first.size() && i < 3; ++i) {
    if (i > 0) all += i + 1 == count ? " and " : ", ";
    all += quoted(first[i]);
  }
  if (count > 3) all += " and " + std::to_string(count - 3) + " more";
  return all;
}

std::string shown(double number) {
  std::string digits = base::describe(number);
  if (digits.ends_with(".0")) digits.resize(digits.size() - 2);
  return digits;
}

std::string percent(double fraction) {
  constexpr double kSteps = 10'000;
  return shown(std::round(fraction * kSteps) / 100) + " %";
}

}  // namespace corvo::corvo_internal::lint
