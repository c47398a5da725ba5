// SPDX-License-Identifier: Apache-2.0

#include "tool/http/http_server.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/resource.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <iterator>
#include <memory>
#include <mutex>
#include <regex>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "tests/tool/waiting.h"
#include "tests/tool/wire.h"

namespace corvo::tool {
namespace {

using namespace std::chrono_literals;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;

/// A server on a free port, until SIGTERM ends it.
class Running {
 public:
  explicit Running(HttpRoute handler, const HttpLimits& limits = {})
      : server(std::move(handler), limits), port(server.listen("127.0.0.1", 0)) {
    thread_ = std::thread([this] { server.run(2); });
  }
  ~Running() { end(); }

  void signal() {
    if (!std::exchange(isEnding_, true)) kill(getpid(), SIGTERM);
  }
  void end() {
    signal();
    if (thread_.joinable()) thread_.join();
  }

  HttpServer server;
  const int port;

 private:
  bool isEnding_ = false;
  std::thread thread_;
};

HttpResponse echo(const HttpRequest& request) {
  return {.body = request.method + " " + request.path + " <" + request.body + ">" +
                  std::string(request.header("X-Late"))};
}

std::string get(const std::string& path = "/", const std::string& fields = {}) {
  return "GET " + path + " HTTP/1.1\r\nHost: a\r\n" + fields + "\r\n";
}

std::string post(const std::string& fields, const std::string& body) {
  return "POST / HTTP/1.1\r\nHost: a\r\n" + fields + "\r\n" + body;
}

/// The statuses of all responses, such as "200 400".
std::string statuses(const std::string& received) {
  static const std::regex line("HTTP/1\\.1 (\\d+) [^\r]*\r\n|\\[reset\\]|\\[nothing came\\]");
  std::string all;
  for (std::sregex_iterator found(received.begin(), received.end(), line), end; found != end;
       ++found) {
    all += (all.empty() ? "" : " ") + (found->str(1).empty() ? found->str() : found->str(1));
  }
  return all;
}

TEST(HttpServer, AnswersOrRefusesWhateverArrives) {
  const std::string chunked = "Transfer-Encoding: chunked\r\n";
  const std::string ten = "Content-Length: 10\r\n";
  const std::string large(5'000, 'x');
  std::string lines;
  for (int i = 0; i < 1'000; ++i) lines += "X: y\r\n";
  const struct {
    std::string bytes;
    const char* statuses;
    const char* body = "";
  } cases[] = {
      {"", ""},
      {get(), "200", "GET / <>"},
      {"\r\n\r\n" + get(), "200"},
      {get("/a%20b"), "200", "GET /a b <>"},
      {"GET / HTTP/1.0\r\n\r\n", "200"},
      {"OPTIONS * HTTP/1.1\r\nHost: a\r\n\r\n", "200", "OPTIONS * <>"},
      {"BREW / HTTP/1.1\r\nHost:\r\n\r\n", "200", "BREW / <>"},
      // Several requests at once.
      {get("/a") + get("/b") + get("/c"), "200 200 200", "GET /c <>"},
      {post(ten, "0123456789") + "\r\n" + get("/b"), "200 200", "GET /b <>"},
      {get() + "nonsense\r\n\r\n" + get(), "200 400"},
      {get("/", "Connection: close\r\n") + get(), "200"},
      {"GET / HTTP/1.0\r\n\r\n" + get(), "200"},
      {"GET / HTTP/1.0\r\nConnection: keep-alive\r\n\r\n" + get(), "200 200"},
      // Not requests.
      {"nonsense\r\n\r\n", "400"},
      {std::string("\x16\x03\x01\x02\x00\x01\x00\x01\xfc\x03\x03", 11), "400"},
      {"GET /\r\n\r\n", "400"},
      {"GET / HTTP/2.0\r\nHost: a\r\n\r\n", "400"},
      {"GET / HTTP/1.1\nHost: a\r\n\r\n", "400"},
      {"GET  / HTTP/1.1\r\nHost: a\r\n\r\n", "400"},
      {"GET / HTTP/1.1\r\n\r\n", "400"},
      {get("/", "Host: b\r\n"), "400"},
      {get("/", "Name : x\r\n"), "400"},
      {get("/", ": x\r\n"), "400"},
      {get("/", "Name\r\n"), "400"},
      {get("/", std::string("Name: \0\r\n", 9)), "400"},
      {get("nowhere"), "400"},
      {get("/%zz"), "200", "GET /%zz <>"},
      {"CONNECT a:1 HTTP/1.1\r\nHost: a\r\n\r\n", "400"},
      // Bodies, and where they end.
      {post("Content-Length: 3\r\n", "abc"), "200", "POST / <abc>"},
      {post("Content-Length: 0\r\n", ""), "200", "POST / <>"},
      {post(chunked, "3\r\nabc\r\n2;x=\"y\"\r\nde\r\n0\r\n\r\n"), "200", "POST / <abcde>"},
      {post(chunked, "1\r\na\r\n0\r\nX-Late: z\r\n\r\n"), "200", "POST / <a>"},
      {post(ten, "0123456789" + get("/b")), "200 200", "GET /b <>"},
      {post(ten, "012345678"), ""},
      {post("Content-Length: 3\r\n" + chunked, "0\r\n\r\n"), "400"},
      {post(chunked + "Content-Length: 3\r\n", "0\r\n\r\n"), "400"},
      {post("Content-Length: 3\r\nTransfer-Encoding: other\r\n", "abc"), "400"},
      {post(ten + "Content-Length: 3\r\n", "0123456789"), "400"},
      {post(ten + ten, "0123456789"), "400"},
      {post("Content-Length: 10, 10\r\n", "0123456789"), "400"},
      {post("Content-Length: -1\r\n", ""), "400"},
      {post("Content-Length: +3\r\n", "abc"), "400"},
      {post("Content-Length: 3x\r\n", "abc"), "400"},
      {post("Content-Length:\r\n", ""), "400"},
      {post("Content-Length: 99999999999999999999\r\n", ""), "400"},
      {post("Transfer-Encoding: gzip, chunked\r\n", "0\r\n\r\n"), "501"},
      {post("Transfer-Encoding: xchunked\r\n", "0\r\n\r\n"), "501"},
      {post("Transfer-Encoding: chunked, gzip\r\n", "0\r\n\r\n"), "501"},
      {post("Transfer-Encoding:\r\n", "0\r\n\r\n"), "501"},
      {post(chunked + chunked, "0\r\n\r\n"), "400"},
      {"POST / HTTP/1.0\r\n" + chunked + "\r\n0\r\n\r\n", "400"},
      {post(chunked, "-1\r\na\r\n0\r\n\r\n"), "400"},
      {post(chunked, "1\na\n0\n\n\r\n"), "400"},
      {post(chunked, "1\r\nab\r\n0\r\n\r\n"), "400"},
      {post(chunked, "fffffffffffffffff\r\na"), "400"},
      // Too much.
      {post("Content-Length: 1000\r\n", std::string(1'000, 'x')), "200"},
      {post("Content-Length: 1001\r\n", std::string(1'001, 'x')), "413"},
      {post("Content-Length: 18446744073709551615\r\n", ""), "413"},
      {post(chunked, "fa0\r\n"), "413"},
      {post(chunked, "3e8\r\n" + large.substr(0, 1'000) + "\r\n1\r\nx\r\n0\r\n\r\n"), "413"},
      {post(chunked, "1;" + large + large), "413"},
      {post(chunked, "0\r\nX: " + large + large), "413"},
      {get("/" + large), "431"},
      {get("/", "X: " + large + "\r\n"), "431"},
      {get("/", "X: " + large), "431"},
      {get("/", lines), "431"},
  };
  HttpLimits limits;
  limits.bodyBytes = 1'000;
  limits.headerBytes = 4'000;
  Running running(echo, limits);
  for (const bool isWhole : {true, false}) {
    for (const auto& [bytes, expected, body] : cases) {
      Wire wire(running.port);
      if (isWhole) {
        wire.send(bytes);
      } else {  // in pieces that end anywhere, also after a line
        for (std::size_t i = 0; i < bytes.size(); i += 6) wire.send(bytes.substr(i, 6));
      }
      wire.finish();
      const std::string received = wire.receive();
      EXPECT_EQ(statuses(received), expected) << bytes.substr(0, 200);
      EXPECT_THAT(received, EndsWith(body)) << bytes.substr(0, 200);
    }
  }
}

TEST(HttpServer, LimitsAHeadThatArrivesLineByLine) {
  HttpLimits limits;
  limits.headerBytes = 4'000;
  Running running(echo, limits);
  Wire wire(running.port);
  wire.send("GET / HTTP/1.1\r\n");
  for (int i = 0; i < 1'000; ++i) {
    wire.send("X: y\r\n");
    if (i % 50 == 0) std::this_thread::sleep_for(1ms);  // so that some end a read
  }
  EXPECT_EQ(statuses(wire.receive()), "431");
}

TEST(HttpServer, TellsAClientToContinueOnlyIfItWillReadOn) {
  HttpLimits limits;
  limits.bodyBytes = 10;
  Running running(echo, limits);
  const std::string expect = "Expect: 100-continue\r\nContent-Length: ";
  Wire wire(running.port);
  wire.send(post(expect + "2\r\n", ""));
  EXPECT_EQ(wire.receive("\r\n\r\n"), "HTTP/1.1 100 Continue\r\n\r\n");
  wire.send("ab");
  EXPECT_THAT(wire.receive("<ab>"), HasSubstr("HTTP/1.1 200 OK"));
  wire.send(post(expect + "11\r\n", ""));
  EXPECT_EQ(statuses(wire.receive()), "413");
}

TEST(HttpServer, FramesItsAnswers) {
  const auto handler = [](const HttpRequest& request) {
    if (request.path == "/throw") throw std::runtime_error("secret");
    HttpResponse response{.body = "text", .headers = {{"X-A", "b"}}};
    if (request.path != "/") response.status = std::stoi(request.path.substr(1));
    if (response.status == 203) response.bytesPerSecond = 100;
    return response;
  };
  Running running(handler);
  Wire wire(running.port);
  const struct {
    const char* request;
    const char* status;
    const char* length;  // empty: there is none
    const char* body;
  } cases[] = {
      {"GET /", "200 OK", "4", "text"},
      {"HEAD /", "200 OK", "4", ""},
      {"GET /203", "203 Non-Authoritative Information", "4", "text"},
      {"GET /204", "204 No Content", "", ""},
      {"GET /205", "205 Reset Content", "0", ""},
      {"GET /304", "304 Not Modified", "", ""},
      {"GET /429", "429 Too Many Requests", "4", "text"},
      {"GET /throw", "500 Internal Server Error", "15", "internal error\n"},
  };
  for (const auto& [request, status, length, body] : cases) {
    wire.send(request + std::string(" HTTP/1.1\r\nHost: a\r\nRange: bytes=0-0\r\n\r\n"));
    const std::string head = wire.receive("\r\n\r\n");
    EXPECT_THAT(head, HasSubstr(std::string("HTTP/1.1 ") + status + "\r\n")) << request;
    EXPECT_THAT(head, HasSubstr(" GMT\r\n")) << request;
    EXPECT_THAT(head, Not(HasSubstr("Connection:"))) << request;
    const std::string field = "Content-Length: " + std::string(length) + "\r\n";
    EXPECT_EQ(head.find(field) != std::string::npos, *length != '\0') << head;
    if (*body) {
      EXPECT_EQ(wire.receive(body), body) << request;
    }
  }
  wire.finish();
  EXPECT_EQ(wire.receive(), "") << "nothing follows the last answer";
}

/// Patience for a tenth of a second.
HttpLimits impatient() {
  HttpLimits limits;
  limits.request = limits.idle = limits.answer = 100ms;
  limits.leastBytesPerSecond = 1'000'000'000;
  return limits;
}

TEST(HttpServer, CutsClientsOffThatStopSending) {
  Running running(echo, impatient());
  const struct {
    std::string bytes;
    const char* statuses;
  } cases[] = {
      {"", ""},
      {"G", "408"},
      {"GET / HTTP/1.1\r\n", "408"},
      {post("Content-Length: 2\r\n", "x"), "408"},
      {post("Expect: 100-continue\r\nContent-Length: 2\r\n", ""), "100 408"},
      {post("Transfer-Encoding: chunked\r\n", "1\r\nx\r\n"), "408"},
  };
  for (const auto& [bytes, expected] : cases) {
    Wire wire(running.port);
    wire.send(bytes);
    EXPECT_EQ(statuses(wire.receive()), expected) << bytes;
  }
}

TEST(HttpServer, CutsClientsOffThatDrip) {
  Running running(echo, impatient());
  Wire dripping(running.port);
  std::atomic<bool> isOver = false;
  std::jthread drips([&] {
    while (!isOver) {
      dripping.send("x");
      std::this_thread::sleep_for(5ms);
    }
  });
  EXPECT_EQ(statuses(dripping.receive()), "408") << "the time is that of the whole request";
  isOver = true;
}

TEST(HttpServer, CutsClientsOffThatGoOnAfterTheirLastAnswer) {
  Running running(echo);
  Wire flooding(running.port);
  flooding.send("nonsense\r\n\r\n");
  ASSERT_EQ(statuses(flooding.receive()), "400");
  std::atomic<bool> isOver = false;
  std::jthread flood([&] {
    const std::string bytes(100'000, 'x');
    while (!isOver) flooding.send(bytes);
  });
  EXPECT_TRUE(comes([&] { return running.server.connections() == 0; }));
  isOver = true;
}

TEST(HttpServer, CutsClientsOffThatDoNotRead) {
  Running running(
      [](const HttpRequest&) { return HttpResponse{.body = std::string(50'000'000, 'x')}; },
      impatient());
  Wire unread(running.port);
  unread.send(get());
  ASSERT_TRUE(comes([&] { return running.server.connections() == 1; }));
  EXPECT_TRUE(comes([&] { return running.server.connections() == 0; }));
}

TEST(HttpServer, SaysWhichConnectionsAreTooMany) {
  HttpLimits limits;
  limits.connections = 2;
  Running running(
      [](const HttpRequest& request) {
        HttpResponse response = echo(request);
        if (request.isSurplus) response.status = 429;
        return response;
      },
      limits);
  {
    Wire first(running.port);
    Wire second(running.port);
    ASSERT_TRUE(comes([&] { return running.server.connections() == 2; }));
    Wire third(running.port);
    third.send(post("Content-Length: 2\r\n", "ab"));
    const std::string refusal = third.receive();
    EXPECT_EQ(statuses(refusal), "429");
    EXPECT_THAT(refusal, HasSubstr("\r\nConnection: close\r\n"));
    EXPECT_EQ(running.server.refused(), 1U);
    first.send(get("/still"));
    EXPECT_EQ(statuses(first.receive("GET /still <>")), "200");
  }
  ASSERT_TRUE(comes([&] { return running.server.connections() == 0; }));
  Wire later(running.port);
  later.send(get("/later"));
  EXPECT_EQ(statuses(later.receive("GET /later <>")), "200");
}

TEST(HttpServer, SurvivesWithoutFiles) {
  Running running(echo);
  Wire waiting;  // its own file is open already
  rlimit before{};
  getrlimit(RLIMIT_NOFILE, &before);
  const int next = open("/dev/null", O_RDONLY);
  close(next);
  const rlimit none{static_cast<rlim_t>(next), before.rlim_max};
  setrlimit(RLIMIT_NOFILE, &none);
  waiting.connect(running.port);
  waiting.send(get());
  std::this_thread::sleep_for(150ms);  // it tries, and tries again
  EXPECT_EQ(running.server.connections(), 0U);
  setrlimit(RLIMIT_NOFILE, &before);
  EXPECT_EQ(statuses(waiting.receive("GET / <>")), "200");
}

TEST(HttpServer, RefusesATakenPortAndWrongAddresses) {
  const auto port = [](const std::string& host, int wanted) {
    return HttpServer(echo).listen(host, wanted);
  };
  HttpServer first(echo);
  const int taken = first.listen("127.0.0.1", 0);
  EXPECT_THROW(port("127.0.0.1", taken), std::runtime_error);
  EXPECT_THROW(port("example", 0), std::runtime_error);
  EXPECT_THROW(port("203.0.113.1", 0), std::runtime_error);
  EXPECT_GT(port("127.0.0.1", 0), 0);
  EXPECT_GT(port("::1", 0), 0);
}

std::size_t threadCount() {
  using Tasks = std::filesystem::directory_iterator;
  return static_cast<std::size_t>(std::distance(Tasks("/proc/self/task"), Tasks()));
}

/// A server whose answers have no end, and their streams.
class Streams : public testing::Test {
 protected:
  HttpResponse open(const HttpRequest&) {
    HttpResponse response{.type = "text/event-stream", .body = "hello\n"};
    response.stream = [this](HttpStream stream) {
      static_cast<void>(stream.send("first\n"));
      const std::lock_guard lock(mutex_);
      streams_.push_back(std::move(stream));
    };
    return response;
  }
  std::size_t count() {
    const std::lock_guard lock(mutex_);
    return streams_.size();
  }
  /// Sends to all; how many are still there.
  std::size_t send(const std::string& text) {
    const std::lock_guard lock(mutex_);
    std::erase_if(streams_, [&](const HttpStream& stream) { return !stream.send(text); });
    return streams_.size();
  }

  std::mutex mutex_;
  std::vector<HttpStream> streams_;
  Running running_{[this](const HttpRequest& request) { return open(request); }};
};

TEST_F(Streams, CostNoThreadAndSeeTheirClientsGo) {
  Wire wire(running_.port);
  wire.send(get());
  EXPECT_THAT(wire.receive("first\n"), HasSubstr("chunked"));
  const std::size_t threads = threadCount();
  rlimit files{};
  getrlimit(RLIMIT_NOFILE, &files);
  const std::size_t all = files.rlim_cur > 3'000 ? 1'000 : 200;  // two files each
  std::vector<Wire> wires;
  while (wires.size() < all) wires.emplace_back(running_.port).send(get());
  ASSERT_TRUE(comes([&] { return count() == all + 1; }));
  EXPECT_EQ(threadCount(), threads);
  EXPECT_EQ(send("news\n"), all + 1);
  for (Wire& each : wires)
    EXPECT_THAT(each.receive("news\n\r\n"), HasSubstr("6\r\nhello\n\r\n6\r\nfirst"));
  while (wires.size() > 10) wires.pop_back();
  EXPECT_TRUE(comes([&] { return running_.server.connections() == 11; }));
  EXPECT_EQ(send("more\n"), 11U);
  running_.end();
  EXPECT_EQ(wire.receive(), "\r\n5\r\nnews\n\r\n5\r\nmore\n\r\n0\r\n\r\n");
  EXPECT_EQ(send("late\n"), 0U);
}

TEST_F(Streams, AreFramedAsTheClientUnderstands) {
  Wire old(running_.port);
  old.send("GET / HTTP/1.0\r\n\r\n");
  const std::string head = old.receive("\r\n\r\n");
  EXPECT_THAT(head, HasSubstr("Connection: close"));
  EXPECT_THAT(head, Not(HasSubstr("chunked")));
  EXPECT_EQ(old.receive("first\n"), "hello\nfirst\n");
  Wire asking(running_.port);
  asking.send("HEAD / HTTP/1.1\r\nHost: a\r\n\r\n");
  EXPECT_THAT(asking.receive("\r\n\r\n"), HasSubstr("chunked"));
  running_.end();
  EXPECT_EQ(asking.receive(), "");
  EXPECT_EQ(old.receive(), "");
}

TEST_F(Streams, EndIfTheirClientDoesNotRead) {
  Wire wire(running_.port);
  wire.send(get());
  ASSERT_TRUE(comes([&] { return count() == 1; }));
  const std::string text(100'000, 'x');
  std::size_t sent = 0;
  while (send(text) == 1 && sent < 10'000) ++sent;
  EXPECT_LT(sent, 10'000U);
  EXPECT_TRUE(comes([&] { return running_.server.connections() == 0; }));
}

TEST(HttpServerEnd, AnswersAllThatHasBeenAsked) {
  std::atomic<int> asked = 0;
  Running running([&](const HttpRequest& request) {
    ++asked;
    HttpResponse response = echo(request);
    if (request.path == "/delayed") response.delay = 1h;
    if (request.path == "/slow") response.bytesPerSecond = 1;
    return response;
  });
  Wire idle(running.port);
  idle.send(get("/idle"));
  ASSERT_THAT(idle.receive("GET /idle <>"), HasSubstr("200"));
  Wire begun(running.port);
  begun.send("G");
  Wire silent(running.port);
  ASSERT_TRUE(comes([&] { return running.server.connections() == 3; }));
  std::vector<Wire> wires;
  for (int i = 0; i < 100; ++i) {
    const std::string path = i % 3 == 0 ? "/delayed" : i % 3 == 1 ? "/slow" : "/plain";
    wires.emplace_back(running.port).send(get(path) + get("/next"));
  }
  ASSERT_TRUE(comes([&] { return asked > 0; }));  // others are still in the system's queue
  running.signal();
  idle.send(get("/late"));  // its client does not know yet
  EXPECT_THAT(idle.receive(), EndsWith("GET /late <>"));
  EXPECT_EQ(silent.receive(), "");
  begun.send(get("/begun").substr(1));
  const std::string last = begun.receive();
  EXPECT_THAT(last, HasSubstr("Connection: close"));
  EXPECT_THAT(last, EndsWith("GET /begun <>"));
  for (Wire& wire : wires) {
    const std::string received = wire.receive();
    EXPECT_EQ(statuses(received), "200 200");
    EXPECT_THAT(received, EndsWith("GET /next <>"));
    wire.finish();
  }
}

TEST(HttpServerEnd, WaitsForClientsOnlySoLong) {
  HttpLimits limits;
  limits.ending = 50ms;
  auto running = std::make_unique<Running>(echo, limits);
  Wire wire(running->port);
  wire.send("GET / HTTP/1.1\r\n");
  ASSERT_TRUE(comes([&] { return running->server.connections() == 1; }));
  running.reset();
  EXPECT_EQ(statuses(wire.receive()), "");
}

}  // namespace
}  // namespace corvo::tool
