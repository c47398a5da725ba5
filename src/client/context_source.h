#pragma once

#include <corvo/platform/clock.h>
#include <corvo/platform/time_zone.h>
#include <corvo/user.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "client/device_once.h"
#include "project/prepared_project.h"
#include "storage/storage_client.h"
#include "targeting/context.h"
#include "targeting/device_properties.h"
#include "targeting/local_time.h"
#include "targeting/property_layer.h"
#include "targeting/property_table.h"

namespace corvo::corvo_internal::client {

/// Makes the targeting contexts of one client's questions. The layers of user and location are made
/// once per record and time zone, the table of all properties once per project and layers; they
/// serve until others take their place. Every context is valid until the next one is made. For one
/// thread at a time.
class ContextSource {
 public:
  struct Parts {
    std::shared_ptr<storage::StorageClient> storage;
    std::shared_ptr<const Clock> clock;
    std::shared_ptr<const TimeZone> timeZone;
    std::shared_ptr<DeviceOnce> device;
  };
  explicit ContextSource(Parts parts);

  /// The stored user. Without one an empty user is stored, and used. Valid until it is asked for
  /// again, or written.
  const std::shared_ptr<const CorvoUser>& currentUser();

  /// A context of nobody and nothing.
  [[nodiscard]] targeting::Context bare(double now);

  /// That of the stored user on this device, wherever he is.
  [[nodiscard]] targeting::Context ofUser(double now);

  /// The whole context, for the conditions of that project.
  [[nodiscard]] targeting::Context at(
      double now, const std::shared_ptr<const project::PreparedProject>& project,
      const std::shared_ptr<const PropertyMap>& location);

 private:
  // What was made, with what it was made from. That is kept alive: the same pointer means the same
  // record.
  struct UserLayer {
    std::shared_ptr<const CorvoUser> record;
    std::uint64_t zone = 0;
    targeting::PropertyLayer layer;
  };
  struct LocationLayer {
    std::shared_ptr<const PropertyMap> record;
    targeting::PropertyLayer layer;
  };
  struct Table {
    std::shared_ptr<const project::PreparedProject>
        project;  // null when a layer has been made since
    targeting::PropertyTable properties;
  };

  void learnDevice(double now);
  void makeUserLayer(const std::shared_ptr<const CorvoUser>& user, std::uint64_t zone);
  void makeLocationLayer(const std::shared_ptr<const PropertyMap>& location);
  void makeTable(const std::shared_ptr<const project::PreparedProject>& project,
                 const targeting::PropertyLayer& device);

  Parts parts_;
  targeting::LocalTime localTime_;
  std::optional<std::string> deviceId_;
  std::optional<targeting::DeviceProperties> deviceProperties_;  // made on first need
  UserLayer user_;
  LocationLayer location_;
  Table table_;
};

}  // namespace corvo::corvo_internal::client
