// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvo/json_value.h>

#include <map>
#include <optional>
#include <string>
#include <tuple>
#include <vector>

#include "json/json_writer.h"
#include "json/stored_date.h"
#include "model/codec.h"
#include "model/fields.h"

namespace corvo::corvo_internal::model {

/// Writes values, and records by their tables of fields.
class Encoder {
 public:
  explicit Encoder(json::JsonWriter& out) : out_(out) {}

  void write(bool value) { out_.boolean(value); }
  void write(std::int64_t value) { out_.integer(value); }
  void write(double value) { out_.real(value); }
  void write(const std::string& value) { out_.string(value); }
  void write(Text value) { out_.string(value); }
  void write(ExperimentType value) { out_.integer(static_cast<std::int64_t>(value)); }
  void write(const json::StoredDate& value) { out_.real(value.number()); }
  void write(const JsonValue& value) { out_.value(value); }

  /// Wrappers of a dynamic value. The writer records a failure.
  template <class W>
  requires(W::kEncodes) void write(const W& wrapper) { static_cast<void>(wrapper.encode(out_)); }

  template <TextEnum E>
  void write(E value) {
    out_.string(textOf(value));
  }

  template <class T>
  void write(const std::optional<T>& value) {
    value ? write(*value) : out_.null();
  }

  template <class T>
  void write(const std::vector<T>& list) {
    writeElements(list);
  }
  template <class T>
  void write(List<T> list) {
    writeElements(list);
  }

  template <class T>
  void write(const std::map<std::string, T, std::less<>>& map) {
    out_.beginObject();
    for (const auto& [key, value] : map) {
      out_.key(key);
      write(value);
    }
    out_.endObject();
  }

  template <JsonRecord R>
  void write(const R& record) {
    out_.beginObject();
    std::apply([&](const auto&... field) { (writeField(field, record), ...); }, Fields<R>::list);
    out_.endObject();
  }

 private:
  void writeElements(const auto& list) {
    out_.beginArray();
    for (const auto& element : list) write(element);
    out_.endArray();
  }

  template <class F, class R>
  void writeField(const F& field, const R& record) {
    const auto& value = record.*field.member;
    if (field.presence == Presence::fallback) return;
    if (field.presence == Presence::optional && isAbsent(value)) return;
    out_.plainKey(field.key);
    write(value);
  }

  template <class T>
  static bool isAbsent(const T&) {
    return false;
  }
  template <class T>
  static bool isAbsent(const std::optional<T>& value) {
    return !value;
  }

  json::JsonWriter& out_;
};

}  // namespace corvo::corvo_internal::model
