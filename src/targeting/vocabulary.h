#pragma once

#include <array>
#include <cstddef>
#include <string>
#include <unordered_set>
#include <vector>

#include "base/text_hash.h"
#include "targeting/prepared_list.h"
#include "targeting/property_names.h"

namespace corvo::corvo_internal::targeting {

/// What the rules of a configuration have in common, found while they are prepared: the names of
/// the properties, and the texts. Many rules compare with the same few lists and answer the same
/// few values; as all refer to the first of that content, those stay in the processor's cache.
/// Refers to the texts it is given.
class Vocabulary {
 public:
  PropertyNames names;
  PreparedLists lists;  ///< To be kept as long as conditions that were prepared with it.

  /// The first text, or list of texts, of that content.
  const std::string& shared(const std::string& text) { return **texts_.insert(&text).first; }
  const std::vector<std::string>& shared(const std::vector<std::string>& list) {
    return **lists_.insert(&list).first;
  }

 private:
  struct ContentHash {
    std::size_t operator()(const std::string* text) const { return base::TextHash()(*text); }
    std::size_t operator()(const std::vector<std::string>* list) const {
      std::size_t hash = list->size();
      for (const std::string& text : *list) {
        // No sum: sums of chosen lists are equal whatever their texts hash to.
        const std::array<std::size_t, 2> both{hash, base::TextHash()(text)};
        hash = base::TextHash()({reinterpret_cast<const char*>(both.data()), sizeof both});
      }
      return hash;
    }
  };
  struct SameContent {
    template <class Content>
    bool operator()(const Content* a, const Content* b) const {
      return *a == *b;
    }
  };
  template <class Content>
  using Pool = std::unordered_set<const Content*, ContentHash, SameContent>;

  Pool<std::string> texts_;
  Pool<std::vector<std::string>> lists_;
};

}  // namespace corvo::corvo_internal::targeting
