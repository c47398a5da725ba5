// SPDX-License-Identifier: Apache-2.0

#include <algorithm>
#include <string>
#include <type_traits>
#include <vector>

#include "base/nearest_word.h"
#include "lint/checks.h"

namespace corvo::corvo_internal::lint {
namespace {

// The type of the records in a field; void if it holds none.
template <class T>
struct RecordsIn {
  using Type = std::conditional_t<model::JsonRecord<T>, T, void>;
};
template <class T>
struct RecordsIn<std::optional<T>> : RecordsIn<T> {};
template <class T>
struct RecordsIn<model::List<T>> : RecordsIn<T> {};
template <class T>
struct RecordsIn<std::vector<T>> : RecordsIn<T> {};

// The keys of an object, sorted by text; equal keys stay in document order.
std::vector<const JsonNode*> keysOf(const JsonNode& object) {
  std::vector<const JsonNode*> keys;
  const JsonMembers members(object);
  for (auto member = members.begin(); !(member == members.end()); ++member) {
    keys.push_back(member.key);
  }
  std::ranges::stable_sort(keys, {}, [](const JsonNode* key) { return key->text(); });
  return keys;
}

bool isRepeated(const std::vector<const JsonNode*>& keys, std::size_t position) {
  return position > 0 && keys[position - 1]->text() == keys[position]->text();
}

// Walks the document by the tables of fields, even where its records cannot be decoded.
class KeyCheck {
 public:
  explicit KeyCheck(Report& report) : report_(report) {}

  template <class R>
  void record(const JsonNode& node) {
    if (node.kind != JsonKind::object) return foreign(node);
    constexpr auto keys = std::apply([](const auto&... field) { return std::array{field.key...}; },
                                     model::Fields<R>::list);
    checkKeysOf(node, keys);
    for (const auto [key, value] : JsonMembers(node)) member<R>(key, value);
  }

 private:
  template <class R>
  void member(std::string_view key, const JsonNode& value) {
    bool isRecords = false;
    const auto look = [&]<class Form, class M>(const model::Field<Form, R, M>& field) {
      using Inner = typename RecordsIn<M>::Type;
      if constexpr (!std::is_void_v<Inner>) {
        if (field.key != key) return;
        isRecords = true;
        records<Inner>(value);
      }
    };
    std::apply([&](const auto&... field) { (look(field), ...); }, model::Fields<R>::list);
    if (!isRecords) foreign(value);
  }

  template <class R>
  void records(const JsonNode& node) {
    if (node.kind != JsonKind::array) return record<R>(node);
    for (const JsonNode& element : JsonElements(node)) record<R>(element);
  }

  void checkKeysOf(const JsonNode& object, std::span<const std::string_view> known) {
    const auto keys = keysOf(object);
    for (std::size_t i = 0; i < keys.size(); ++i) {
      const std::string_view key = keys[i]->text();
      const bool isKnown = std::ranges::find(known, key) != known.end();
      if (isRepeated(keys, i)) {
        report_.addAtKey(isKnown ? Code::duplicateKey : Code::duplicateIgnoredKey, *keys[i],
                         "the key " + quoted(key) + " is repeated: only the last one counts");
      } else if (!isKnown) {
        report_.addAtKey(Code::unknownKey, *keys[i],
                         "unknown key " + quoted(key) + didYouMean(base::nearestWord(key, known)));
      }
    }
  }

  // A value that is not read as records. Only the first repeated key in it is reported: each
  // finding contains a pointer to its place, which can be as long as the document here.
  void foreign(const JsonNode& value) {
    for (const JsonNode* node = &value; node != value.next(); ++node) {
      if (node->kind != JsonKind::object) continue;
      const auto keys = keysOf(*node);
      for (std::size_t i = 1; i < keys.size(); ++i) {
        if (!isRepeated(keys, i)) continue;
        return report_.addAtKey(
            Code::duplicateIgnoredKey, *keys[i],
            "the key " + quoted(keys[i]->text()) + " is repeated: only the last one counts");
      }
    }
  }

  Report& report_;
};

}  // namespace

void checkKeys(const Document& document, Report& report) {
  KeyCheck(report).record<model::ConfigResponse>(*document.root());
}

}  // namespace corvo::corvo_internal::lint
