// A server that answers wrongly, in a process of its own. Writes its ports and the certificate of
// its authority, serves until its input ends, and then writes all that it was ever sent.

#include <arpa/inet.h>
#include <netinet/in.h>
#include <openssl/err.h>
#include <openssl/pem.h>
#include <openssl/ssl.h>
#include <openssl/x509v3.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <iostream>
#include <list>
#include <map>
#include <mutex>
#include <set>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "tests/base/case_table.h"

namespace corvo::tests {
namespace {

constexpr long kDay = 86'400;

struct Signed {
  X509* certificate;
  EVP_PKEY* key;
};

/// A certificate that holds from two days ago on, signed by the issuer, or by itself.
Signed makeCertificate(const char* name, long secondsLeft, const char* extension,
                       const Signed* issuer) {
  static int serial = 0;
  Signed made{X509_new(), EVP_EC_gen("P-256")};
  X509* const x = made.certificate;
  X509_set_version(x, 2);
  ASN1_INTEGER_set(X509_get_serialNumber(x), ++serial);
  X509_gmtime_adj(X509_getm_notBefore(x), -2 * kDay);
  X509_gmtime_adj(X509_getm_notAfter(x), secondsLeft);
  X509_NAME_add_entry_by_txt(X509_get_subject_name(x), "CN", MBSTRING_ASC,
                             reinterpret_cast<const unsigned char*>(name), -1, -1, 0);
  X509_set_issuer_name(x, X509_get_subject_name(issuer != nullptr ? issuer->certificate : x));
  X509_set_pubkey(x, made.key);
  const std::string text = extension;
  const std::size_t colon = text.find('=');
  X509_EXTENSION* const made_extension = X509V3_EXT_conf_nid(
      nullptr, nullptr, OBJ_txt2nid(text.substr(0, colon).c_str()), text.c_str() + colon + 1);
  X509_add_ext(x, made_extension, -1);
  X509_sign(x, issuer != nullptr ? issuer->key : made.key, EVP_sha256());
  return made;
}

SSL_CTX* makeContext(const Signed& identity) {
  SSL_CTX* const context = SSL_CTX_new(TLS_server_method());
  SSL_CTX_use_certificate(context, identity.certificate);
  SSL_CTX_use_PrivateKey(context, identity.key);
  return context;
}

std::string pem(X509* certificate) {
  BIO* const memory = BIO_new(BIO_s_mem());
  PEM_write_bio_X509(memory, certificate);
  char* text = nullptr;
  const long size = BIO_get_mem_data(memory, &text);
  return {text, static_cast<std::size_t>(size)};
}

void replaceAll(std::string& text, const std::string& what, const std::string& by) {
  for (auto at = text.find(what); at < text.size(); at = text.find(what, at + by.size())) {
    text.replace(at, what.size(), by);
  }
}

/// "{3*ab}" is "ababab".
void repeat(std::string& text) {
  for (auto at = text.find("{"); at < text.size(); at = text.find("{", at + 1)) {
    std::size_t digits = 0;
    const std::string rest = text.substr(at + 1);
    const std::size_t times = isdigit(rest[0]) != 0 ? std::stoul(rest, &digits) : 0;
    if (digits == 0 || rest[digits] != '*') continue;
    const std::size_t end = rest.find('}');
    std::string all;
    for (std::size_t i = 0; i < times; ++i) all += rest.substr(digits + 1, end - digits - 1);
    text.replace(at, end + 2, all);
  }
}

std::string hex(std::size_t number) {
  std::ostringstream out;
  out << std::hex << number;
  return out.str();
}

/// One side of a connection, over TLS where there is a context.
class Stream {
 public:
  Stream(int socket, SSL_CTX* context) : socket_(socket) {
    if (context == nullptr) return;
    ssl_ = SSL_new(context);
    SSL_set_fd(ssl_, socket);
    isOpen_ = SSL_accept(ssl_) == 1;
  }
  Stream(const Stream&) = delete;
  Stream& operator=(const Stream&) = delete;
  ~Stream() {
    if (ssl_ != nullptr && isOpen_) SSL_shutdown(ssl_);
    SSL_free(ssl_);
    close(socket_);
  }

  /// Some bytes that came; none at the end.
  std::string receive() {
    char bytes[4096];
    if (!isOpen_) return {};
    const auto size = ssl_ != nullptr ? SSL_read(ssl_, bytes, sizeof bytes)
                                      : recv(socket_, bytes, sizeof bytes, 0);
    return {bytes, size > 0 ? static_cast<std::size_t>(size) : 0};
  }
  bool send(const std::string& bytes) {
    if (bytes.empty()) return true;
    const int size = static_cast<int>(bytes.size());
    if (ssl_ != nullptr) return SSL_write(ssl_, bytes.data(), size) == size;
    return ::send(socket_, bytes.data(), bytes.size(), MSG_NOSIGNAL) == size;
  }
  void reset() {
    const linger atOnce{1, 0};
    setsockopt(socket_, SOL_SOCKET, SO_LINGER, &atOnce, sizeof atOnce);
  }

 private:
  int socket_;
  SSL* ssl_ = nullptr;
  bool isOpen_ = true;
};

struct Reply {
  std::string head, body, then;
};

class FaultServer {
 public:
  explicit FaultServer(const std::string& replies) {
    std::set<std::string> places{"other"};
    for (const auto& [name, where, head, body, then] : caseTable<5>(replies)) {
      replies_[name] = {head, body, then};
      places.insert(where.substr(where.find(' ') + 1));
    }
    const Signed authority =
        makeCertificate("authority", kDay, "basicConstraints=CA:TRUE", nullptr);
    const char* const here = "subjectAltName=IP:127.0.0.1";
    authority_ = pem(authority.certificate);
    listen("secure", makeContext(makeCertificate("s", kDay, here, &authority)));
    listen("expired", makeContext(makeCertificate("e", -kDay, here, &authority)));
    listen("stranger",
           makeContext(makeCertificate("w", kDay, "subjectAltName=DNS:other.example", &authority)));
    listen("selfsigned", makeContext(makeCertificate("i", kDay, here, nullptr)));
    bindTo("refused");
    for (const std::string& place : places) {
      if (!ports_.contains(place)) listen(place, nullptr);
    }
  }

  void introduce() const {
    for (const auto& [name, port] : ports_) std::cout << name << ' ' << port << '\n';
    std::cout << '\n' << authority_ << std::endl;
  }

  /// A line for each request, or what came of it; what cannot be printed is shown as "~".
  void tell() {
    const std::lock_guard lock(mutex_);
    for (auto& [listener, received] : heard_) {
      for (char& c : received) c = c < 0x20 || c > 0x7E ? '~' : c;
      std::cout << listener << ' ' << received << '\n';
    }
    std::cout << std::flush;
  }

 private:
  struct Heard {
    std::string listener, received;
  };

  int bindTo(const std::string& name) {
    const int socket = ::socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    auto* const generic = reinterpret_cast<sockaddr*>(&address);
    socklen_t size = sizeof address;
    if (bind(socket, generic, size) != 0 || getsockname(socket, generic, &size) != 0) std::exit(1);
    ports_[name] = std::to_string(ntohs(address.sin_port));
    return socket;
  }

  void listen(const std::string& name, SSL_CTX* context) {
    const int listener = bindTo(name);
    if (::listen(listener, 512) != 0) std::exit(1);
    std::thread([this, name, listener, context] {
      for (;;) {
        const int socket = accept(listener, nullptr, nullptr);
        std::thread([this, name, socket, context] { serve(name, socket, context); }).detach();
      }
    }).detach();
  }

  void serve(const std::string& name, int socket, SSL_CTX* context) {
    Stream stream(socket, context);
    if (name == "reset") return stream.reset();
    for (bool goesOn = true; goesOn;) {
      std::istringstream words(receiveHead(name, stream));
      std::string method, path;
      words >> method >> path;  // "/row/fault/route"
      if (path.empty()) return;
      const std::size_t route = path.rfind('/');
      const std::size_t fault = path.rfind('/', route - 1);
      const auto found = replies_.find(path.substr(fault + 1, route - fault - 1));
      goesOn = answer(stream, found == replies_.end() ? Reply{"OK", "$", ""} : found->second, path);
    }
  }

  /// Nothing when it does not come whole.
  std::string receiveHead(const std::string& name, Stream& stream) {
    std::string* received = nullptr;
    {
      const std::lock_guard lock(mutex_);
      received = &heard_.emplace_back(Heard{name, {}}).received;
    }
    for (std::string some = stream.receive(); !some.empty(); some = stream.receive()) {
      const std::lock_guard lock(mutex_);
      *received += some;
      if (received->find("\r\n\r\n") < received->size()) return *received;
    }
    return {};
  }

  /// Fills in what the tables leave open: see there.
  std::string written(std::string text, const std::string& path) const {
    const bool isLocation = path.substr(path.rfind('/') + 1) == "geo";
    const std::string good =
        isLocation ? R"({"country":"NEW"})"
                   : R"({"feature_flags":[{"name":"f","type":"string","rules":[{"is_default":true,)"
                     R"("value":"new","conditional_statement":"-","conditions":[]}]}]})";
    if (text.rfind("OK", 0) == 0) text.replace(0, 2, "HTTP/1.1 200 OK^Content-Length: @^^");
    for (const auto& [name, port] : ports_) replaceAll(text, '<' + name + '>', "127.0.0.1:" + port);
    replaceAll(text, "<here>", path);
    replaceAll(text, "<route>", path.substr(path.rfind('/') + 1));
    replaceAll(text, "<row>", path.substr(0, path.find('/', 1)));
    replaceAll(text, "^", "\r\n");
    replaceAll(text, "#", hex(good.size()));
    replaceAll(text, "%", good.substr(1));
    replaceAll(text, "$", good);
    repeat(text);
    return text;
  }

  /// Whether the connection goes on.
  bool answer(Stream& stream, const Reply& reply, const std::string& path) {
    const std::string body = written(reply.body, path);
    std::string head = written(reply.head, path);
    replaceAll(head, "@", std::to_string(body.size()));
    const std::string then = reply.then.substr(0, reply.then.find(' '));
    const std::string what =
        written(reply.then.substr(std::min(then.size() + 1, reply.then.size())), path);
    bool goesOn = stream.send(head + body);
    for (; goesOn && then == "drip"; goesOn = stream.send(what)) {
      std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    for (std::string much = what; goesOn && then == "endless"; goesOn = stream.send(much)) {
      if (much.size() < 65'536) much += much;
    }
    while (goesOn && then == "hang" && !stream.receive().empty()) {
    }
    if (then == "reset") stream.reset();
    return goesOn && then.empty();
  }

  std::map<std::string, Reply> replies_;
  std::string authority_;
  std::map<std::string, std::string> ports_;
  std::mutex mutex_;
  std::list<Heard> heard_;  // guarded
};

}  // namespace
}  // namespace corvo::tests

int main(int /*count*/, char** arguments) {
  std::signal(SIGPIPE, SIG_IGN);
  auto* const server = new corvo::tests::FaultServer(arguments[1]);  // its threads outlive `main`
  server->introduce();
  std::cin.get();
  server->tell();
  std::_Exit(0);
}
