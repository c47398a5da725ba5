// SPDX-License-Identifier: Apache-2.0

#include "tool/http/router.h"

#include <gtest/gtest.h>

#include <string>

#include "tool/http/request_target.h"

namespace corvo::tool {
namespace {

/// What the request holds, as one text.
std::string seen(const HttpRequest& request) {
  std::string all = request.rawPath + " " + request.path;
  for (const auto& [name, value] : request.query) all += " " + name + "=" + value;
  return all;
}

TEST(RequestTarget, IsDecoded) {
  const std::string nul = std::string("/\0", 2);
  const struct {
    const char* target;
    std::string says;  // empty: it is refused
  } cases[] = {
      {"/", "/ /"},
      {"/a%20b", "/a%20b /a b"},
      {"/a%2fb?", "/a%2fb /a/b"},
      {"/a+b?c+d=e+f", "/a+b /a+b c d=e f"},
      {"/?a=1&b&=2&&a=%3D%26&c=d=e", "/ / =2 a=1 a==& b= c=d=e"},
      {"/%C3%a9", "/%C3%a9 /\u00e9"},
      {"/%00", "/%00 " + nul},
      {"*", "* *"},
      {"http://other:80/x?y=z", "/x /x y=z"},
      {"http://other", "/ /"},
      {"/%%41", "/%%41 /%A"},
      {"/%", "/% /%"},
      {"/%4", "/%4 /%4"},
      {"/%4g", "/%4g /%4g"},
      {"/%-1", "/%-1 /%-1"},
      {"/%+1", "/%+1 /%+1"},
      {"/%0x", "/%0x /%0x"},
      {"/?a=%", "/ / a=%"},
      {"/?%zz=1", "/ / %zz=1"},
      {"", ""},
      {"a", ""},
      {"*x", ""},
      {"other:80", ""},
      {"https://other/", ""},
      {"http://other?x", ""},
  };
  for (const auto& [target, says] : cases) {
    HttpRequest request;
    request.headers.emplace("Host", "here");
    const bool isValid = readTarget(target, request);
    EXPECT_EQ(isValid ? seen(request) : "", says) << target;
    if (isValid && std::string_view(target).starts_with("http:")) {
      EXPECT_TRUE(request.header("host").starts_with("other")) << target;
    }
  }
}

TEST(Router, FindsTheRouteByMethodAndPath) {
  Router router;
  const auto named = [](const char* name) {
    return [name](const HttpRequest&) { return HttpResponse{.body = name}; };
  };
  router.add("GET", "/", named("page"));
  router.add("POST", "/flags", named("all"));
  router.add("POST", "/flags/*", [](const HttpRequest& request) {
    return HttpResponse{.body = "one " + starOf("/flags/*", request)};
  });
  router.add("GET", "/flags", named("list"));
  const struct {
    const char* method;
    const char* target;
    int status;
    const char* body;  // or the allowed methods
    const char* route;
  } cases[] = {
      {"GET", "/", 200, "page", "/"},
      {"HEAD", "/", 200, "page", "/"},
      {"GET", "/?x=y", 200, "page", "/"},
      {"POST", "/flags", 200, "all", "/flags"},
      {"POST", "/fl%61gs", 200, "all", "/flags"},
      {"GET", "/flags", 200, "list", "/flags"},
      {"POST", "/flags/a", 200, "one a", "/flags/*"},
      {"POST", "/flags/a/b", 200, "one a/b", "/flags/*"},
      {"POST", "/flags/a%2Fb%25", 200, "one a/b%", "/flags/*"},
      {"POST", "/flags//", 200, "one /", "/flags/*"},
      {"POST", "/flags/", 404, "", "other"},
      {"POST", "/flags%2Fa", 404, "", "other"},
      {"GET", "/Flags", 404, "", "other"},
      {"GET", "//", 404, "", "other"},
      {"OPTIONS", "*", 404, "", "other"},
      {"get", "/", 405, "GET, HEAD", "/"},
      {"DELETE", "/flags", 405, "POST, GET, HEAD", "/flags"},
      {"GET", "/flags/a", 405, "POST", "/flags/*"},
  };
  for (const auto& [method, target, status, body, route] : cases) {
    HttpRequest request;
    request.method = method;
    ASSERT_TRUE(readTarget(target, request)) << target;
    const HttpResponse response = router.answer(request);
    EXPECT_EQ(response.status, status) << method << target;
    EXPECT_EQ(response.route, route) << method << target;
    if (status != 404) {
      EXPECT_EQ(status == 200 ? response.body : response.headers.at(0).second, body)
          << method << target;
    }
  }
}

}  // namespace
}  // namespace corvo::tool
