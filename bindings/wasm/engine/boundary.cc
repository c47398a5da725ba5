// SPDX-License-Identifier: Apache-2.0

#include "boundary.h"

#include <corvo/property.h>

#include <new>
#include <type_traits>
#include <utility>
#include <variant>

#include "base/stop_process.h"

namespace corvo::corvo_internal::wasm {
namespace {

Record result;
std::string keptText;
std::vector<char> writtenInput;

Record recordOf(bool value) {
  Record record(Kind::boolean);
  record.integer = value ? 1 : 0;
  return record;
}
Record recordOf(std::int64_t value) {
  Record record(Kind::integer);
  record.integer = value;
  return record;
}
Record recordOf(double value) {
  Record record(Kind::number);
  record.number = value;
  return record;
}

template <class T>
Record read(std::string_view text) {
  const auto value = fromCorvoString<T>(text);
  return value ? recordOf(*value) : Record{};
}

Record readAny(std::string_view text) {
  const auto record = [&](const auto& value) {
    using Value = std::remove_cvref_t<decltype(value)>;
    if constexpr (std::is_same_v<Value, JsonObject>)
      return Record(Kind::json, text);
    else if constexpr (std::is_same_v<Value, std::string>)
      return Record(Kind::string, text);
    else
      return recordOf(value);
  };
  return std::visit(record, typedProperty(text));
}

/// Where in a document an error lies, or -1.
std::int64_t offsetOf(const CorvoError& error) {
  const auto* failure = error.as<CorvoError::RequestConfigFailed>();
  if (failure == nullptr) return -1;
  const auto* decoding = failure->error.as<CorvoNetworkError::DecodingError>();
  if (decoding == nullptr || !decoding->offset) return -1;
  return static_cast<std::int64_t>(*decoding->offset);
}

}  // namespace

Record valueOf(std::string_view text, Kind kind) {
  switch (kind) {
    case Kind::boolean:
      return read<bool>(text);
    case Kind::integer:
      return read<std::int64_t>(text);
    case Kind::number:
      return read<double>(text);
    case Kind::string:
      return Record(Kind::string, text);
    case Kind::json:
      return fromCorvoString<JsonObject>(text) ? Record(Kind::json, text) : Record{};
    default:
      return readAny(text);
  }
}

void answer(const Record& record) noexcept { result = record; }
void answer(bool value) noexcept { answer(recordOf(value)); }
void answerNothing() noexcept { answer(Record{}); }

void answer(std::string&& text) {
  keptText = std::move(text);
  answer(Record(Kind::string, keptText));
}

void answer(const CorvoError& error) {
  answer(error.description());
  result.kind = Kind::failure;
  answerAlso(error.name(), offsetOf(error));
}

void answerAlso(std::string_view name, std::int64_t integer) noexcept {
  result.name = name.data();
  result.nameSize = name.size();
  result.integer = integer;
}

std::vector<char>& input() noexcept { return writtenInput; }
std::string_view inputText(std::size_t size) noexcept { return {writtenInput.data(), size}; }
void dropInput() noexcept { std::vector<char>().swap(writtenInput); }

}  // namespace corvo::corvo_internal::wasm

using namespace corvo::corvo_internal;

/// Where the result of each call is.
CORVO_WASM_EXPORT(corvo_result) const wasm::Record* corvoResult() { return &wasm::result; }

/// Room for what the next call reads.
CORVO_WASM_EXPORT(corvo_input) char* corvoInput(std::size_t size) {
  std::vector<char>& input = wasm::input();
  if (input.size() < size) input.resize(size);
  return input.data();
}

/// Must be called once, before anything else. JavaScript recognises the text.
CORVO_WASM_EXPORT(corvo_begin) void corvoBegin() {
  std::set_new_handler([] { base::stopProcess("memory ran out"); });
}
