// Declarations of a platform of one's own, the last of which starts an application on it.
#include <corvo/client_registry.h>

#include <memory>
#include <optional>
#include <string>

// block

int run() {
  startApplication();
  phone::runMainThread();
  return 0;
}
