// SPDX-License-Identifier: Apache-2.0

#include "tool/serve/page.h"

#include <random>
#include <string>
#include <string_view>

#include "tool/html.h"
#include "tool/http/entity_tag.h"
#include "tool/serve/findings_view.h"
#include "tool/serve/page_query.h"
#include "tool/serve/page_template.h"
#include "tool/serve/project_view.h"

namespace corvo::tool {
namespace {

/// A text that nobody can guess, for the page's own style and script: a document's would not run.
std::string makeNonce() {
  constexpr std::string_view kHexDigits = "0123456789abcdef";
  std::random_device random;
  std::string nonce;
  for (int i = 0; i < 32; ++i) nonce += kHexDigits[random() % kHexDigits.size()];
  return nonce;
}

std::string policyFor(const std::string& nonce) {
  return "default-src 'none'; style-src 'nonce-" + nonce + "'; script-src 'nonce-" + nonce +
         "'; connect-src 'self'; img-src data:; form-action 'self'; base-uri 'none'; "
         "frame-ancestors 'none'";
}

std::string pageFor(ServedProject& project, const Snapshot& snapshot, const HttpRequest& request,
                    const std::string& nonce) {
  const PageQuery query(request);
  const std::string& path = project.name();
  const std::string file = path.substr(path.find_last_of("/\\") + 1);
  const auto field = [&](const char* name) { return html::exact(request.parameter(name)); };
  return html::filled(
      kPage, {{"nonce", nonce},
              {"version", html::exact(snapshot.version)},
              {"file", html::shown(file, 100)},
              {"glance", glanceOf(snapshot)},
              {"findings", findingsOf(snapshot, file)},
              {"complaint", query.complaint.empty() ? ""
                                                    : R"(<p class="complaint" role="alert">)" +
                                                          html::shown(query.complaint) + "</p>"},
              {"userId", field("userId")},
              {"properties", field("properties")},
              {"now", field("now")},
              {"zone", field("zone")},
              {"only", field("only")},
              {"answers", answersOf(snapshot, query)}});
}

}  // namespace

HttpRoute pageOf(ServedProject& project) {
  return [&project](const HttpRequest& request) {
    const auto snapshot = project.now();
    const std::string tag = "\"" + snapshot->version + "\"";
    if (isKnownTag(request, tag)) return HttpResponse{.status = 304};
    const std::string nonce = makeNonce();
    return HttpResponse{.type = "text/html; charset=utf-8",
                        .body = pageFor(project, *snapshot, request, nonce),
                        .headers = {{"Content-Security-Policy", policyFor(nonce)},
                                    {"ETag", tag},
                                    {"Cache-Control", "no-store"},
                                    {"Referrer-Policy", "no-referrer"},
                                    {"X-Content-Type-Options", "nosniff"}}};
  };
}

}  // namespace corvo::tool
