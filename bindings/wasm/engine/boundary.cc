// SPDX-License-Identifier: Apache-2.0

#include "boundary.h"

#include <new>
#include <utility>

#include "base/stop_process.h"
#include "model/typed_text.h"

namespace corvo::corvo_internal::wasm {
namespace {

Record result;
std::string keptText;
std::vector<char> writtenInput;

struct MakeRecord {
  Record operator()() const { return {}; }
  Record operator()(bool value) const {
    Record record(Kind::boolean);
    record.integer = value ? 1 : 0;
    return record;
  }
  Record operator()(std::int64_t value) const {
    Record record(Kind::integer);
    record.integer = value;
    return record;
  }
  Record operator()(double value) const {
    Record record(Kind::number);
    record.number = value;
    return record;
  }
  Record operator()(model::TextType type, std::string_view text) const {
    return Record(static_cast<Kind>(type), text);
  }
};

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
  return model::readAs(static_cast<model::TextType>(kind), text, MakeRecord());
}

void answer(const Record& record) noexcept { result = record; }
void answer(bool value) noexcept { answer(MakeRecord()(value)); }
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
