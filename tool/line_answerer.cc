// SPDX-License-Identifier: Apache-2.0

#include "tool/line_answerer.h"

#include <corvo/json_value.h>
#include <corvo/property.h>

#include "json/json_places.h"
#include "model/property_json.h"
#include "tool/report.h"

namespace corvo::tool {
namespace {

/// A comma follows every element; the bracket replaces the last one.
void closeList(std::string& text, char bracket) {
  if (text.back() == ',') {
    text.back() = bracket;
  } else {
    text += bracket;
  }
}

}  // namespace

void LineAnswerer::answer(LineBatch& batch) {
  std::string_view rest = batch.text;
  std::size_t number = batch.firstNumber;
  for (const auto& [size, isTooLong] : batch.lines) {
    if (isTooLong) {
      refuse("null", {"line-too-long", "longer than 16 MiB"}, number, 1, batch);
    } else {
      answer(rest.substr(0, size), number, batch);
    }
    rest.remove_prefix(size);
    ++number;
  }
  user_.forget();  // it may be long, and another thread may take the next batch
}

void LineAnswerer::answer(std::string_view line, std::size_t number, LineBatch& batch) {
  if (const auto fault = user_.read(line)) {
    const auto [ignored, column] = corvo_internal::json::LineCounter(line).at(fault->place);
    return refuse(user_.id(), *fault, number, column, batch);
  }
  about_.reset(user_.context());
  std::string& out = batch.answers;
  out.append("{\"id\":").append(user_.id()).append(",\"flags\":{");
  for (const auto& [flag, text] : about_.flagTexts(form_.flags())) {
    out.append(form_.flagKey(flag)).append(valueOf(text)) += ',';
  }
  closeList(out, '}');
  const auto memberships = about_.memberships(form_.experiments());
  out += ",\"experiments\":[";
  addMemberships(memberships, false, out);
  out += ",\"holdouts\":[";
  addMemberships(memberships, true, out);
  out += "}\n";
}

void LineAnswerer::addMemberships(std::span<const Evaluation::Membership> memberships,
                                  bool areHoldouts, std::string& out) {
  for (const auto& [position, group] : memberships) {
    const AnswerForm::Experiment& experiment = form_.experiment(position);
    if (experiment.isHoldout == areHoldouts) out.append(experiment.groups[group]) += ',';
  }
  closeList(out, ']');
}

void LineAnswerer::refuse(const std::string& id, const UserLine::Fault& fault, std::size_t number,
                          std::size_t column, LineBatch& batch) {
  const std::string message =
      "line " + std::to_string(number) + ", column " + std::to_string(column) + ": " + fault.reason;
  const JsonObject error{{"code", fault.code}, {"message", message}};
  batch.answers += "{\"id\":" + id + ",\"error\":" + JsonValue(error).toJson() + "}\n";
  ++batch.badCount;
}

const std::string& LineAnswerer::valueOf(std::string_view text) {
  const auto known = values_.find(text);
  return known != values_.end()
             ? known->second
             : values_[text] = corvo_internal::model::jsonOf(typedProperty(text)).toJson();
}

}  // namespace corvo::tool
