#pragma once

#include <corvo/user.h>

#include <string>

#include "model/config.h"
#include "network/network_route.h"

namespace corvo::corvo_internal::network {

/// Asks for the configuration of a project, on behalf of a client's private identifier.
struct ConfigRoute : NetworkRoute {
  using ResponseType = model::ConfigResponse;

  ConfigRoute(std::string token, std::string userId);
};

/// Asks where the device is, as far as the backend can tell.
struct LocationRoute : NetworkRoute {
  using ResponseType = PropertyMap;

  LocationRoute(std::string token, std::string userId);
};

}  // namespace corvo::corvo_internal::network
