// SPDX-License-Identifier: Apache-2.0

#include "tool/serve/metrics.h"

#include <gmock/gmock.h>

#include <chrono>
#include <string>
#include <thread>
#include <vector>

namespace corvo::tool {
namespace {

using testing::HasSubstr;
using testing::Not;

/// A route that answers with a status of its path.
HttpResponse answer(const HttpRequest& request) {
  const bool isKnown = request.path == "/a";
  return {.status = isKnown ? 200 : 404, .route = isKnown ? "/a" : "other"};
}

TEST(Metrics, CountsRequestsOfAllThreadsByRouteAndStatus) {
  Metrics metrics;
  const HttpRoute route = metrics.around(answer);
  {
    std::vector<std::jthread> threads;
    for (int i = 0; i < 20; ++i) {
      threads.emplace_back([&] {
        for (int j = 0; j < 100; ++j) route({.path = "/a"});
        route({.path = "/hostile\"path"});
      });
    }
  }
  const std::string text = metrics.text({{"corvo_x", "gauge", "A gauge.", 0.5}});
  EXPECT_THAT(text, HasSubstr("# TYPE corvo_requests_total counter\n"
                              "corvo_requests_total{route=\"/a\",status=\"200\"} 2000\n"
                              "corvo_requests_total{route=\"other\",status=\"404\"} 20\n"));
  EXPECT_THAT(text, HasSubstr("corvo_request_duration_seconds_count{route=\"/a\"} 2000\n"));
  EXPECT_THAT(text, HasSubstr("_bucket{route=\"other\",le=\"+Inf\"} 20\n"));
  EXPECT_THAT(text, HasSubstr("\n# HELP corvo_x A gauge.\n# TYPE corvo_x gauge\ncorvo_x 0.5\n"));
  EXPECT_THAT(text, Not(HasSubstr("hostile"))) << "clients must not choose names";
}

TEST(Metrics, MeasuresRoutes) {
  Metrics metrics;
  const HttpRoute slow = metrics.around([](const HttpRequest& request) {
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
    return answer(request);
  });
  slow({.path = "/a"});
  EXPECT_THAT(metrics.text({}), HasSubstr("_bucket{route=\"/a\",le=\"0.0005\"} 0\n"));
}

TEST(Metrics, PutsADurationIntoItsBucketAndAllAbove) {
  Metrics metrics;
  metrics.count("/a", 200, std::chrono::milliseconds(30));
  const std::string text = metrics.text({});
  const struct {
    const char* bound;
    int count;
  } cases[] = {{"0.0001", 0}, {"0.025", 0}, {"0.05", 1}, {"1", 1}, {"+Inf", 1}};
  for (const auto& [bound, count] : cases) {
    EXPECT_THAT(text, HasSubstr("_bucket{route=\"/a\",le=\"" + std::string(bound) + "\"} " +
                                std::to_string(count) + "\n"));
  }
  EXPECT_THAT(text, HasSubstr("_sum{route=\"/a\"} 0.03\n"));
}

}  // namespace
}  // namespace corvo::tool
