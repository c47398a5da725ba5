// SPDX-License-Identifier: Apache-2.0

#include "tests/scenario/tls.h"

#include <openssl/pem.h>
#include <openssl/ssl.h>
#include <openssl/x509v3.h>

#include <algorithm>

namespace corvo::tests {
namespace {

Certificate make(int extension, const char* value, long secondsLeft, const Certificate* issuer) {
  static int serial = 0;
  Certificate made{{X509_new(), X509_free}, {EVP_EC_gen("P-256"), EVP_PKEY_free}};
  X509* const x = made.x509.get();
  X509_set_version(x, 2);
  ASN1_INTEGER_set(X509_get_serialNumber(x), ++serial);
  X509_gmtime_adj(X509_getm_notBefore(x), -2 * kDay);
  X509_gmtime_adj(X509_getm_notAfter(x), secondsLeft);
  X509_NAME_add_entry_by_txt(X509_get_subject_name(x), "CN", MBSTRING_ASC,
                             reinterpret_cast<const unsigned char*>(value), -1, -1, 0);
  X509_set_issuer_name(x, X509_get_subject_name(issuer != nullptr ? issuer->x509.get() : x));
  X509_set_pubkey(x, made.key.get());
  X509_EXTENSION* const added = X509V3_EXT_conf_nid(nullptr, nullptr, extension, value);
  X509_add_ext(x, added, -1);
  X509_EXTENSION_free(added);
  X509_sign(x, (issuer != nullptr ? *issuer : made).key.get(), EVP_sha256());
  return made;
}

class TlsStream final : public Stream {
 public:
  TlsStream(int socket, SSL_CTX* context) : Stream(socket), ssl_(SSL_new(context), SSL_free) {
    SSL_set_fd(ssl_.get(), socket);
    isOpen_ = SSL_accept(ssl_.get()) == 1;
  }
  TlsStream(const TlsStream&) = delete;
  TlsStream& operator=(const TlsStream&) = delete;
  ~TlsStream() override {
    if (isOpen_) SSL_shutdown(ssl_.get());
  }

  std::string receive() override {
    char bytes[4096];
    const int size = isOpen_ ? SSL_read(ssl_.get(), bytes, sizeof bytes) : 0;
    return {bytes, static_cast<std::size_t>(std::max(size, 0))};
  }
  bool send(const std::string& bytes) override {
    return SSL_write(ssl_.get(), bytes.data(), static_cast<int>(bytes.size())) > 0;
  }

 private:
  const std::shared_ptr<SSL> ssl_;
  bool isOpen_ = false;
};

}  // namespace

std::string Certificate::pem() const {
  const std::shared_ptr<BIO> memory(BIO_new(BIO_s_mem()), BIO_free);
  PEM_write_bio_X509(memory.get(), x509.get());
  char* text = nullptr;
  const long size = BIO_get_mem_data(memory.get(), &text);
  return {text, static_cast<std::size_t>(size)};
}

Certificate makeAuthority() { return make(NID_basic_constraints, "CA:TRUE", kDay, nullptr); }

Certificate makeCertificate(const char* subject, long secondsLeft, const Certificate* issuer) {
  return make(NID_subject_alt_name, subject, secondsLeft, issuer);
}

LoopbackServer::Open overTls(const Certificate& identity) {
  const std::shared_ptr<SSL_CTX> context(SSL_CTX_new(TLS_server_method()), SSL_CTX_free);
  SSL_CTX_use_certificate(context.get(), identity.x509.get());
  SSL_CTX_use_PrivateKey(context.get(), identity.key.get());
  return [context](int socket) { return std::make_unique<TlsStream>(socket, context.get()); };
}

}  // namespace corvo::tests
