// SPDX-License-Identifier: Apache-2.0

#include "network/request_url.h"

#include <gtest/gtest.h>

#include "tests/base/case_table.h"

namespace corvo::corvo_internal::network {
namespace {

TEST(JoinAddressTest, HalvesDoubledSlashesInOnePass) {
  for (const auto& [base, path, joined] : tests::caseTable<3>(CORVO_NETWORK_CASES "joins.txt")) {
    EXPECT_EQ(joinAddress(base, path), joined);
  }
}

TEST(RequestUrlTest, TakesUriReferencesOnly) {
  for (const auto& [isOne, text] : tests::caseTable<2>(CORVO_NETWORK_CASES "addresses.txt")) {
    const auto expected =
        isOne == "yes" ? std::optional(text.substr(0, text.find('?'))) : std::nullopt;
    EXPECT_EQ(requestUrl(text, {}), expected) << text;
  }
}

TEST(RequestUrlTest, ReplacesTheQueryAndKeepsTheFragment) {
  struct Case {
    const char* address;
    std::vector<QueryItem> items;
    const char* url;
  };
  const Case cases[] = {
      {"http:/h/geo?old=1", {}, "http:/h/geo"},
      {"http:/h?old=1/geo", {{"a", "b"}}, "http:/h?a=b"},
      {"http:/h?#f/geo", {}, "http:/h#f/geo"},
      {"#a/?:@", {}, "#a/?:@"},
      {"http:/h#f?x/geo", {{"a", "b"}}, "http:/h?a=b#f?x/geo"},
      {"geo", {{"name", {}}, {"empty", ""}, {"", "value"}}, "geo?name&empty=&=value"},
      {"geo", {{"a b&c", "=/?#%"}}, "geo?a%20b%26c=%3D%2F%3F%23%25"},
      {"geo", {{"-._~", "+\xC3\xA4\x01"}}, "geo?-._~=%2B%C3%A4%01"},
  };
  for (const auto& [address, items, url] : cases) EXPECT_EQ(requestUrl(address, items), url);
}

}  // namespace
}  // namespace corvo::corvo_internal::network
