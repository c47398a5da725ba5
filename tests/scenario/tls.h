// SPDX-License-Identifier: Apache-2.0
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

/// The certificate of an authority.
Certificate makeAuthority();
/// A certificate that is valid for this many seconds, for "IP:127.0.0.1" or similar, signed by the
/// issuer or, without one, by itself.
Certificate makeCertificate(const char* subject, long secondsLeft, const Certificate* issuer);

/// Opens TLS streams for a server that presents this certificate.
LoopbackServer::Open overTls(const Certificate& identity);

}  // namespace corvo::tests
