#include "network/request_url.h"

#include <gtest/gtest.h>

namespace corvo::network {
namespace {

TEST(JoinAddressTest, HalvesDoubledSlashesInOnePass) {
  struct Case {
    const char* base;
    const char* path;
    const char* joined;
  };
  const Case cases[] = {
      {"https://host", "config.json", "https:/host/config.json"},
      {"https://host/", "geo", "https:/host/geo"},
      {"https://host//a///b", "geo", "https:/host/a//b/geo"},
      {"http:////host//", "//geo", "http://host///geo"},
      {"", "geo", "/geo"},
      {"/", "", "/"},
  };
  for (const auto& [base, path, joined] : cases) EXPECT_EQ(joinAddress(base, path), joined);
}

TEST(RequestUrlTest, TakesUriReferencesOnly) {
  const char* const valid[] = {
      "", "/", "a", "geo", "//host/geo", "http:/host:8080/geo", "http://u:p@host:/geo", "a/b:c",
      "A1+-.:x", "urn:a:b", "localhost:8080/geo", "/%e2%82%AC;,=/@:!$&'()*+-._~", "?a/?:@",
      "http:/host:99999999999/geo",
      // IP literals, where a host stands
      "http:/[::1]:8080/config.json", "http:/[::]", "http:/me:pw@[1::]/geo", "http://[::1]/geo",
      "//[fe80::1]:1/geo", "http:/[1:2:3:4:5:6:7:8]", "http:/[1:2:3:4:5:6:192.0.2.255]",
      "http:/[::2:3:4:5:6:7:8]", "http:/[1:2:3:4:5:6:7::]", "http:/[::ffff:192.0.2.1]",
      "http:/[v1F.a:b!]"};
  for (const char* address : valid) {
    const std::string_view text = address;
    EXPECT_EQ(requestUrl(text, {}), text.substr(0, text.find('?'))) << address;
  }
  const char* const invalid[] = {
      "http:/a host/geo", "http:/h/%", "http:/h/%2", "http:/h/%g0", "http:/h/%0g", "h\x01", "\x7f",
      "http:/h\xC3\xA4", "a\\b", "a\"b", "<a>", "a^b", "`a", "{a}", "a|b", "#a#b", "#[", "?[", "?%",
      // schemes, authorities
      ":a", "1http:/h", "ht_tp:/h", "127.0.0.1:80/geo", "http://h:80a/geo", "http://a@b@c/geo",
      "http://a:1:2/geo", "http://%/geo",
      // brackets
      "/[::1]/geo", "[::1]/geo", "http:/a/[::1]", "http:[::1]", "http:/[::1", "http:/::1]",
      "http:/[::1]x/geo", "http:/[::1]:x/geo", "http:/x[::1]/geo", "http:/[]", "http:/[:]",
      "http:/[:::]", "http:/[1::2::3]", "http:/[1:2:3:4:5:6:7]", "http:/[1:2:3:4:5:6:7:8:9]",
      "http:/[1:2:3:4:5:6:7:]", "http:/[1:2:3:4:5:6:7::8]", "http:/[::12345]", "http:/[::g]",
      "http:/[::1.2.3]", "http:/[::1.2.3.256]", "http:/[::1.2.3.04]", "http:/[::1.2.3.4.5]",
      "http:/[1.2.3.4::]", "http:/[::1.2.3.4:5]", "http:/[fe80::1%25eth0]", "http:/[v1.]",
      "http:/[v.a]", "http:/[vg.a]", "http:/[v1.%20]"};
  for (const char* address : invalid) EXPECT_EQ(requestUrl(address, {}), std::nullopt) << address;
  EXPECT_EQ(requestUrl(std::string_view("a\0b", 3), {}), std::nullopt);
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
}  // namespace corvo::network
