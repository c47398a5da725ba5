// SPDX-License-Identifier: Apache-2.0

#include <corvo/corvo.h>
#include <corvo/fakes.h>

// Names that an application may define next to the library's.
namespace api {
constexpr int version = 1;
}
namespace base = api;
namespace client = api;
namespace detail = api;
namespace host = api;
namespace json = api;
namespace model = api;
namespace platform = api;
using namespace corvo;
static_assert(base::version + client::version + detail::version + host::version + json::version +
                  model::version + platform::version ==
              7);

// Errors are caught by type across libraries.
bool isMissing(corvo::CorvoClient& client, const char* flag) try {
  client.checkFlag<corvo::JsonObject>(flag).get();
  return false;
} catch (const corvo::CorvoError& error) {
  return error.which() == corvo::CorvoError::Case::featureFlagNotFound;
}

// The application knows a class of the host library through its interface.
bool knowsItsLoop() {
  const auto queue = corvo::hostPlatform({.inMemory = true}).mainQueue;
  return std::dynamic_pointer_cast<corvo::HostLoop>(queue) != nullptr;
}

// Succeeds if the facade answers on the fakes.
int main() {
  corvo::fakes::FakePlatform fake;
  fake.serve(corvo::fakes::project().flag("on", true));
  corvo::Corvo::usePlatform(fake.platform());
  const auto client =
      corvo::Corvo::initializeClient({.projectToken = "token", .apiURL = "https://backend"});
  const bool isOn = client->checkFlag<bool>("on").get() == true;
  return isOn && isMissing(*client, "off") && knowsItsLoop() ? 0 : 1;
}
