#include <corvo/corvo.h>
#include <corvo/fakes.h>

// Succeeds when the facade answers on the fakes.
int main() {
  corvo::fakes::FakePlatform fake;
  fake.session->always("config.json", corvo::fakes::ok(R"({"feature_flags": [
      {"name": "on", "type": "bool", "rules": [{"is_default": true, "value": "true",
       "conditional_statement": "-", "conditions": []}]}]})"));
  fake.session->always("geo", corvo::fakes::ok("{}"));
  corvo::Corvo::usePlatform(fake.platform());
  const auto client = corvo::Corvo::initializeClient("token", std::nullopt, "https://backend", 10,
                                                     0, corvo::Corvo::defaultClientTag);
  return client->checkFlag<bool>("on").get() == true ? 0 : 1;
}
