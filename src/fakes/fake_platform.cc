// SPDX-License-Identifier: Apache-2.0

#include <corvo/fakes/fake_platform.h>
#include <corvo/json_value.h>

#include "fakes/arguments.h"

namespace corvo::fakes {

void FakePlatform::serve(const ProjectBuilder& project, const PropertyMap& location) {
  serve(project.toJson(), location);
}

void FakePlatform::serve(NonNullText configuration, const PropertyMap& location) {
  for (const auto& [name, value] : location) {
    if (!name.starts_with("geo.")) continue;
    throw wrong(
        {"the backend's name of the location's \"", name, "\" is \"", name.substr(4), "\""});
  }
  session->always("config.json", ok(std::move(configuration.value)));
  session->always("geo", ok(toJson(JsonObject(location.begin(), location.end()))));
}

void FakePlatform::goOffline() {
  for (const char* route : {"config.json", "geo"}) {
    session->clear(route);
    session->always(route, failure("offline"));
  }
}

}  // namespace corvo::fakes
