// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvo/json_value.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>

namespace corvo::corvo_internal::json {

/// Appends JSON text (RFC 8259) without blanks to one string. The caller follows JSON's grammar;
/// the writer adds the commas. Texts must be well-formed UTF-8. Only mandatory escapes are used.
class JsonWriter {
 public:
  void beginObject() { open('{'); }
  void endObject() { text_ += '}'; }
  void beginArray() { open('['); }
  void endArray() { text_ += ']'; }
  void key(std::string_view key);
  /// A key without characters that need escaping.
  void plainKey(std::string_view key);

  void null() { raw("null"); }
  void boolean(bool value) { raw(value ? "true" : "false"); }
  void integer(std::int64_t value);
  void integer(std::uint64_t value);
  /// The shortest digits that parse back to the same value; null if JSON cannot express the number.
  void real(double value);
  void real(float value);
  void string(std::string_view value);
  void value(const JsonValue& value);
  void value(const JsonArray& list);
  void value(const JsonObject& object);

  /// Records that a value could not be written. The text is then unusable.
  void refuse() { faithful_ = false; }
  /// Whether every value was written, and JSON can express every number.
  [[nodiscard]] bool isFaithful() const noexcept { return faithful_; }
  [[nodiscard]] std::string take() { return std::move(text_); }

 private:
  void separate();
  void open(char bracket);
  void raw(std::string_view literal);
  void quote(std::string_view value);
  void escape(char c);
  template <class Number>
  void number(Number value);
  template <class Float>
  void finite(Float value);

  std::string text_;
  bool faithful_ = true;
};

}  // namespace corvo::corvo_internal::json
