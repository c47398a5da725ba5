// SPDX-License-Identifier: Apache-2.0

#include "checkout_screen.h"

#include <corvo/fakes.h>
#include <gtest/gtest.h>

namespace {

using namespace corvo;
using fakes::experiment, fakes::project, fakes::Sign, fakes::when, fakes::where;

/// The experiment in the backend's project. Each test chooses the user's group.
fakes::ExperimentBuilder shortCheckout() {
  return experiment("short-checkout", {"control", "short"})
      .param("steps", {{"control", 3}, {"short", 1}});
}

// With a ready client, every answer comes before `open` returns.
TEST(CheckoutScreen, FollowsFlagAndExperiment) {
  const auto goldOnly = when(where("custom.plan", Sign::equal, "gold"), true).otherwise(false);
  const struct {
    const char *plan, *group, *button;
    std::int64_t steps;
  } cases[] = {{"gold", "short", "Buy now", 1}, {"free", "control", "Continue", 3}};
  for (const auto& [plan, group, button, steps] : cases) {
    const fakes::ReadyClient app(
        project().flag("one-click", goldOnly).experiment(shortCheckout().everyoneIn(group)),
        {.user = {{"userId", "ann"}, {"custom.plan", plan}}});
    CheckoutScreen screen(app.client());
    screen.open();
    EXPECT_EQ(screen.view().button, button);
    EXPECT_EQ(screen.view().steps, steps);
    EXPECT_FALSE(screen.view().showsFallback);
  }
}

// Time passes only when the test says so, and the backend follows the test's script.
TEST(CheckoutScreen, CopesWithASlowBackendARestartAndNoNetwork) {
  const std::string shop = project().flag("one-click", true).toJson();
  fakes::ReadyClient app(shop, {.cacheTTL = 300});
  app.fake.time->advance(300);  // the client's copies expire
  app.fake.session->next("config.json", fakes::after(2, fakes::ok(shop)));

  CheckoutScreen slow(app.client());
  slow.open();
  EXPECT_EQ(slow.view().button, "Continue") << "until the answer comes";
  app.fake.time->advance(2);
  EXPECT_EQ(slow.view().button, "Buy now");

  app.fake.goOffline();
  app.restart();
  CheckoutScreen restarted(app.client());
  restarted.open();
  EXPECT_EQ(restarted.view().button, "Buy now") << "from the copies that are stored";

  app.fake.time->advance(300);
  CheckoutScreen offline(app.client());
  offline.open();
  app.fake.time->run();  // answers that need the network come on the main queue
  EXPECT_EQ(offline.view().button, "Continue");
  EXPECT_TRUE(offline.view().showsFallback);
}

}  // namespace
