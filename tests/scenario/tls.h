#pragma once

#include <openssl/types.h>

#include <memory>
#include <string>

#include "tests/host/loopback_server.h"

namespace corvo::tests {

struct Certificate {
  std::shared_ptr<X509> x509;
  std::shared_ptr<EVP_PKEY> key;

  [[nodiscard]] std::string pem() const;
};

constexpr long kDay = 86'400;  // in seconds

/// That of an authority.
Certificate makeAuthority();
/// One that holds until so many seconds from now, for "IP:127.0.0.1" or the like, signed by the
/// issuer or, without one, by itself.
Certificate makeCertificate(const char* subject, long secondsLeft, const Certificate* issuer);

/// Opens streams over TLS for a server that shows this certificate.
LoopbackServer::Open overTls(const Certificate& identity);

}  // namespace corvo::tests
