#include <corvo/corvo.h>
#include <corvo/fakes.h>

// Names that an application may have itself, beside all of the library's.
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

// An error is caught as what it is, whatever library throws it.
bool isMissing(corvo::CorvoClient& client, const char* flag) try {
  client.checkFlag<corvo::JsonObject>(flag).get();
  return false;
} catch (const corvo::CorvoError& error) {
  return error.which() == corvo::CorvoError::Case::featureFlagNotFound;
}

// A class of the host's library is known by its interface here.
bool knowsItsLoop() {
  const auto queue = corvo::hostPlatform({.inMemory = true}).mainQueue;
  return std::dynamic_pointer_cast<corvo::HostLoop>(queue) != nullptr;
}

// Succeeds when the facade answers on the fakes.
int main() {
  corvo::fakes::FakePlatform fake;
  fake.serve(corvo::fakes::project().flag("on", true));
  corvo::Corvo::usePlatform(fake.platform());
  const auto client = corvo::Corvo::initializeClient("token", std::nullopt, "https://backend", 10,
                                                     0, corvo::Corvo::defaultClientTag);
  const bool isOn = client->checkFlag<bool>("on").get() == true;
  return isOn && isMissing(*client, "off") && knowsItsLoop() ? 0 : 1;
}
