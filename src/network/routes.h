// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvo/user.h>

#include <string>

#include "model/config.h"
#include "network/network_route.h"

namespace corvo::corvo_internal::network {

/// Requests the configuration of a project, with a client's private identifier.
struct ConfigRoute : NetworkRoute {
  using ResponseType = model::ConfigResponse;

  ConfigRoute(std::string token, std::string userId);
};

/// Requests the device's location, as far as the backend knows it.
struct LocationRoute : NetworkRoute {
  using ResponseType = PropertyMap;

  LocationRoute(std::string token, std::string userId);
};

}  // namespace corvo::corvo_internal::network
