#pragma once

#include <corvo/json_value.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>

namespace corvo::corvo_internal::json {

/// Appends JSON text (RFC 8259) without blanks to one string. The caller keeps to JSON's grammar;
/// the commas are set here. Texts must be well-formed UTF-8; only what must be is escaped.
class JsonWriter {
 public:
  void beginObject() { open('{'); }
  void endObject() { text_ += '}'; }
  void beginArray() { open('['); }
  void endArray() { text_ += ']'; }
  void key(std::string_view key);
  /// A key in which nothing needs to be escaped.
  void plainKey(std::string_view key);

  void null() { raw("null"); }
  void boolean(bool value) { raw(value ? "true" : "false"); }
  void integer(std::int64_t value);
  void integer(std::uint64_t value);
  /// The shortest digits that read back; null when JSON has no such number.
  void real(double value);
  void real(float value);
  void string(std::string_view value);
  void value(const JsonValue& value);
  void value(const JsonArray& list);
  void value(const JsonObject& object);

  /// Notes that a value could not be written: the text is of no use any more.
  void refuse() { faithful_ = false; }
  /// Whether nothing was refused, and every number was one that JSON has.
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
