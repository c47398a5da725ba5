// SPDX-License-Identifier: Apache-2.0

#include "json/json_tree.h"

// simdjson's own checks would use memory without checking that the allocation succeeded.
#define SIMDJSON_DEVELOPMENT_CHECKS 0
#include <simdjson.h>

#include <new>
#include <string>
#include <utility>
#include <variant>

#include "base/exceptions.h"
#include "base/text.h"
#include "json/json_limits.h"
#include "json/json_number.h"

namespace corvo::corvo_internal::json {
namespace {

namespace ondemand = simdjson::ondemand;

// A text has at most one value per byte.
constexpr std::size_t kMaxSize = (std::size_t{1} << JsonNode::kSpanBits) - 1;

constexpr std::string_view kNotJson = "not a JSON text";
constexpr std::string_view kNotUtf8 = "not UTF-8";
constexpr std::string_view kTooDeep = "nested deeper than 512 levels";
constexpr std::string_view kTooLarge = "too large";

// Reads every value, because simdjson checks only what is read, and checks numbers and atoms less
// strictly than RFC 8259 demands. simdjson's values are passed by reference, because copying them
// costs more than reading. The levels are kept in a list, so that a document's depth does not
// determine the stack use.
class Walk {
 public:
  /// `strings` has room for all texts of the document and the padding.
  Walk(std::vector<JsonNode>& nodes, const ondemand::parser& parser, std::uint8_t* strings)
      : nodes_(nodes), parser_(parser), strings_(strings) {
    levels_.reserve(16);
  }

  [[nodiscard]] std::string_view error() const { return error_; }

  // The text is wrapped in a list, which must hold exactly one value and end where the wrapper
  // ends.
  bool wrapped(ondemand::document& document) {
    ondemand::array list;
    if (document.get_array().get(list) != simdjson::SUCCESS) return fail(kNotJson);
    if (!open(JsonKind::array, list) || !readAll()) return false;
    const bool atEnd = document.current_location().error() == simdjson::OUT_OF_BOUNDS;
    return (nodes_.front().size == 1 && atEnd) || fail(kNotJson);
  }

 private:
  bool fail(std::string_view error) {
    error_ = error;
    return false;
  }

  bool add(JsonKind kind, std::string_view text) {
    nodes_.push_back(JsonNode{text.data(), static_cast<std::uint32_t>(text.size()), 1, kind});
    return true;
  }

  struct Level {
    std::size_t node;
    std::variant<ondemand::array_iterator, ondemand::object_iterator> children;
    std::uint32_t count = 0;  // the children read so far
  };

  template <class Container>
  bool open(JsonKind kind, Container& container) {
    if (levels_.size() > kMaxDepth) return fail(kTooDeep);  // the outer list does not count
    levels_.push_back({nodes_.size(), container.begin().value_unsafe()});
    return add(kind, {});
  }

  bool readAll() {
    bool isJson = true;
    while (isJson && !levels_.empty()) {
      isJson = std::visit([this](auto children) { return readChildren(children); },
                          levels_.back().children);
    }
    return isJson;
  }

  // Reads the children of the innermost level from where it was left. Opens the next container, or
  // closes the level at its end.
  template <class Iterator>
  bool readChildren(Iterator next) {
    const std::size_t own = levels_.size() - 1;
    std::uint32_t count = levels_[own].count;
    if (count != 0) ++next;
    for (; next != Iterator(); ++next) {
      ++count;
      auto item = *next;
      if (item.error() != simdjson::SUCCESS) return fail(kNotJson);
      auto&& found = std::move(item).value_unsafe();
      if (!child(found)) return false;
      if (levels_.size() - 1 == own) continue;
      levels_[own].count = count;
      levels_[own].children = next;
      return true;
    }
    JsonNode& node = nodes_[levels_[own].node];
    node.size = count;
    node.span = static_cast<std::uint32_t>(nodes_.size() - levels_[own].node) & kMaxSize;
    levels_.pop_back();
    return true;
  }

  bool child(ondemand::field& member) { return string(member.key()) && child(member.value()); }

  bool child(ondemand::value& value) {
    ondemand::json_type type{};
    if (value.type().get(type) != simdjson::SUCCESS) return fail(kNotJson);
    switch (type) {
      case ondemand::json_type::object: {
        ondemand::object members;
        const auto error = value.get_object().get(members);
        return error != simdjson::SUCCESS ? fail(kNotJson) : open(JsonKind::object, members);
      }
      case ondemand::json_type::array: {
        ondemand::array list;
        const auto error = value.get_array().get(list);
        return error != simdjson::SUCCESS ? fail(kNotJson) : open(JsonKind::array, list);
      }
      case ondemand::json_type::string:
        return string(value.get_raw_json_string());
      default:
        return scalar(value.raw_json_token());
    }
  }

  // Avoids the parser's own string buffer, because simdjson does not check that its allocation
  // succeeded. Most strings have no escapes and are used in place, so little of the buffer is ever
  // touched.
  bool string(const simdjson::simdjson_result<ondemand::raw_json_string>& raw) {
    std::uint8_t* const place = strings_;
    std::string_view text;
    if (raw.error() != simdjson::SUCCESS ||
        parser_.unescape(raw.value_unsafe(), strings_).get(text) != simdjson::SUCCESS) {
      return fail(kNotJson);
    }
    if (endsAt(raw.value_unsafe().raw(), text.size())) {
      text = {raw.value_unsafe().raw(), text.size()};
      strings_ = place;
    }
    return add(JsonKind::string, text);
  }

  // Whether the string has no escapes, so that its unescaped size equals its size in the text. Then
  // an unescaped quote follows.
  static bool endsAt(const char* string, std::size_t size) {
    return string[size] == '"' && (size == 0 || string[size - 1] != '\\');
  }

  // A token extends to the next one, blanks included.
  bool scalar(std::string_view token) {
    token = token.substr(0, token.find_last_not_of(" \t\n\r") + 1);
    if (token == "null") return add(JsonKind::null, token);
    if (token == "true" || token == "false") return add(JsonKind::boolean, token);
    return JsonNumber::parse(token) ? add(JsonKind::number, token) : fail(kNotJson);
  }

  std::vector<JsonNode>& nodes_;
  const ondemand::parser& parser_;
  std::uint8_t* strings_;
  std::string_view error_;
  std::vector<Level> levels_;
};

// The text size for which the parser allocates its buffers. glibc keeps freed memory for the next
// document only up to twice the largest block ever freed. With three times the room, that block is
// large enough for everything to be kept. Otherwise glibc returns the memory to the system, which
// takes half as long as parsing. Unused room costs addresses, not memory. Blocks of 32 MiB or more
// are always returned.
std::size_t roomFor(std::string_view text) {
#ifdef __GLIBC__
  constexpr std::size_t kKept = (std::size_t{32} << 20) / sizeof(std::uint32_t) / 3;
  if (text.size() < kKept) return 3 * text.size();
#endif
  return text.size();
}

}  // namespace

struct JsonTree::Source {
  std::string text;
  std::unique_ptr<std::uint8_t[]> strings;  // keys and strings that have escapes, unescaped
};

JsonTree::JsonTree(std::string_view json) : source_(std::make_unique<Source>()) {
  if (json.starts_with(kByteOrderMark)) json.remove_prefix(kByteOrderMark.size());
  if (json.size() > kMaxSize - 2) {
    error_ = kTooLarge;
    return;
  }

  // Parsed as the only element of a list, so that a scalar at the root needs no separate path.
  auto& text = source_->text;
  text.reserve(json.size() + 2 + simdjson::SIMDJSON_PADDING);
  text.append("[").append(json).append("]");
  source_->strings =
      std::make_unique_for_overwrite<std::uint8_t[]>(text.size() + simdjson::SIMDJSON_PADDING);
  nodes_.reserve(json.size() / 6 + 2);  // a value takes six bytes if texts are short

  ondemand::parser parser;
  if (parser.allocate(roomFor(text))) base::throwOrStop(std::bad_alloc());
  ondemand::document document;
  Walk walk(nodes_, parser, source_->strings.get());
  if (parser.iterate(text).get(document)) {
    error_ = kNotJson;
  } else if (!walk.wrapped(document)) {
    error_ = walk.error();
  }
  // Which of two faults simdjson finds first depends on the processor.
  if (error_ == kNotJson && !base::isWellFormed(json)) error_ = kNotUtf8;
}

JsonTree::~JsonTree() = default;

const JsonNode* lastMember(const JsonNode& object, std::string_view key) noexcept {
  const JsonNode* last = nullptr;
  for (const auto [name, value] : JsonMembers(object)) {
    if (name == key) last = &value;
  }
  return last;
}

}  // namespace corvo::corvo_internal::json
