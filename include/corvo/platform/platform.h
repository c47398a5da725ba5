// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvo/platform/clock.h>
#include <corvo/platform/device.h>
#include <corvo/platform/main_queue.h>
#include <corvo/platform/preferences_store.h>
#include <corvo/platform/secure_random.h>
#include <corvo/platform/time_zone.h>
#include <corvo/platform/url_session.h>

#include <memory>

namespace corvo {

/// All services that the library needs from its environment. They may be mixed freely: for example
/// a fake clock with the host's time zone. None may be null. A service throws only
/// `std::bad_alloc`, unless its own comment says otherwise. A device must not use a client, because
/// its facts are read under a lock.
struct Platform {
  std::shared_ptr<Clock> clock;                        ///< Tells the time.
  std::shared_ptr<TimeZone> timeZone;                  ///< For dates in conditions and expiries.
  std::shared_ptr<MainQueue> mainQueue;                ///< Where answers come after a fetch.
  std::shared_ptr<UrlSession> urlSession;              ///< Sends requests.
  std::shared_ptr<PreferencesStore> preferencesStore;  ///< Keeps records.
  std::shared_ptr<Device> device;                      ///< Facts for conditions.
  std::shared_ptr<SecureRandom> secureRandom;          ///< For private identifiers.
};

}  // namespace corvo
