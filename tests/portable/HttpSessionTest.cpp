#include <future>

#include "contracts/HttpSessionContract.h"
#include "platform/portable/CurlHttpSession.h"
#include "portable/support/LoopbackServer.h"
#include "portable/support/RealTime.h"

namespace pell::testing {
namespace {

class CurlWorld final : public RealTime<HttpSessionWorld> {
 public:
  HttpSession& session() override { return *session_; }
  void destroySession() override { session_.reset(); }
  std::string baseUrl() const override { return server_.url(); }
  void serve(ServedReply reply) override { server_.serve(reply); }
  void stopListening() override { server_.stop(); }
  std::vector<ServedRequest> received() const override { return server_.received(); }

 private:
  LoopbackServer server_;
  std::unique_ptr<HttpSession> session_ = std::make_unique<CurlHttpSession>();
};

PELL_INSTANTIATE_CONTRACT(Curl, HttpSessionContract, HttpSessionWorld, CurlWorld);

class CurlHttpSessionTest : public ::testing::Test {
 protected:
  using Ending = LoopbackServer::Script::Ending;

  static constexpr std::size_t largest = 100'000;
  LoopbackServer server;
  CurlHttpSession session{largest};

  HttpOutcome exchange(HttpRequest request) {
    std::promise<HttpOutcome> outcome;
    session.send(std::move(request), [&](HttpOutcome arrived) { outcome.set_value(std::move(arrived)); });
    return outcome.get_future().get();
  }

  std::string failure(HttpRequest request) {
    auto outcome = exchange(std::move(request));
    auto* failed = std::get_if<HttpFailure>(&outcome);
    return failed ? failed->description : "";
  }
};

TEST_F(CurlHttpSessionTest, SendsPlainRequestsToLoopbackOnly) {
  const auto port = std::to_string(server.port());
  for (const std::string host : {"127.0.0.1", "localhost"}) {
    auto outcome = exchange({.url = "http://" + host + ":" + port + "/"});
    EXPECT_TRUE(std::holds_alternative<HttpResponse>(outcome)) << host;
  }
  // None of these may reach the network, so the limit is short: a refusal comes at once.
  for (const std::string url :
       {"http://192.0.2.1/", "http://example.invalid/", "http://localhost.example.invalid/",
        "http://127.0.0.1@192.0.2.1/", "http://[2001:db8::1]/", "http://0.0.0.0/"}) {
    EXPECT_THAT(failure({.url = url, .timeout = Seconds(0.2)}), ::testing::HasSubstr("https")) << url;
  }
  for (const std::string url :
       {"file:///etc/hostname", "ftp://127.0.0.1/", "nonsense", "", "http://", "http://a b/"}) {
    EXPECT_NE(failure({.url = url, .timeout = Seconds(0.2)}), "") << url;
  }
  EXPECT_EQ(server.received().size(), 2u);
}

TEST_F(CurlHttpSessionTest, CountsTheLimitsFromTheRightMoments) {
  const std::string head = "HTTP/1.1 200 OK\r\nContent-Length: 10\r\n\r\n";
  const Seconds often{0.1}, limit{0.3}, long_{60};
  const LoopbackServer::Piece begun{head, often}, blanks{"   ", often}, last{"x", often};
  struct {
    LoopbackServer::Script script;
    Seconds idle, total;
    const char* failure;
  } const cases[] = {
      {{{begun, blanks, blanks, blanks, last}, Ending::keep}, limit, long_, ""},  // blanks keep it alive
      {{{{head + "12345"}}, Ending::stall}, limit, long_, "Nothing moved for 0.3 s."},
      {{{begun, blanks, blanks, blanks}, Ending::stall},
       long_,
       limit,
       "The exchange took longer than 0.3 s."},
  };
  for (const auto& [script, idle, total, expected] : cases) {
    server.serve(script);
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(failure({.url = server.url(), .timeout = idle, .resourceTimeout = total}), expected);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(3)) << expected;
  }
}

TEST_F(CurlHttpSessionTest, BoundsWhatItTakes) {
  const std::string announced =
      "HTTP/1.1 200 OK\r\nContent-Length: 100001\r\n\r\n" + std::string(100'001, 'x');
  const std::string endless = "HTTP/1.1 200 OK\r\n\r\n" + std::string(100'001, 'x');
  std::string headers = "HTTP/1.1 200 OK\r\n";
  for (int index = 0; index < 290; ++index) headers += "X-Long: " + std::string(1000, 'h') + "\r\n";
  for (const auto& bytes : {announced, endless, headers}) {
    server.serve({.pieces = {{bytes}}, .ending = Ending::close});
    EXPECT_THAT(failure({.url = server.url()}), ::testing::HasSubstr("too long"));
  }
  server.serve({.body = std::string(largest, 'x')});
  auto outcome = exchange({.url = server.url()});
  EXPECT_EQ(std::get<HttpResponse>(outcome).body.size(), largest);
}

TEST_F(CurlHttpSessionTest, KeepsConnectionsAndAsksNobodyForLeave) {
  for (int round = 0; round < 5; ++round) {
    exchange({.url = server.url(), .method = "POST", .body = std::string(2'000'000, 'a')});
  }
  EXPECT_EQ(server.connections(), 1u);
  auto request = server.received().back();
  EXPECT_EQ(request.body.size(), 2'000'000u);
  EXPECT_EQ(request.headers.count("expect"), 0u);
  EXPECT_EQ(request.headers.count("content-type"), 0u) << "a type that nobody stated";
}

TEST_F(CurlHttpSessionTest, RefusesWhatWouldSmuggleHeaders) {
  EXPECT_NE(failure({.url = server.url(), .headers = {{"X-A", "1\r\nX-B: 2"}}}), "");
  EXPECT_NE(failure({.url = server.url(), .headers = {{"X-A: 1\r\nX-B", "2"}}}), "");
  EXPECT_NE(failure({.url = server.url(), .method = "GET / HTTP/1.1\r\nX-B: 2\r\n\r\nGET"}), "");
  EXPECT_EQ(server.received().size(), 0u);
}

TEST_F(CurlHttpSessionTest, IgnoresInterimRepliesAndProxiesOfTheEnvironment) {
  setenv("http_proxy", "http://127.0.0.1:9", 1);
  server.serve({.pieces = {{"HTTP/1.1 103 Early Hints\r\nX-Early: 1\r\n\r\n"
                            "HTTP/1.1 200 OK\r\nX-Late: 1\r\nX-Late: 2\r\nContent-Length: 0\r\n\r\n"}}});
  auto outcome = exchange({.url = server.url()});
  unsetenv("http_proxy");
  const auto& response = std::get<HttpResponse>(outcome);
  EXPECT_EQ(response.status, 200);
  EXPECT_EQ(response.headers,
            (std::map<std::string, std::string>{{"x-late", "1, 2"}, {"content-length", "0"}}));
}

TEST_F(CurlHttpSessionTest, TellsAServerOfAnotherProtocolFromNone) {
  for (const std::string bytes : {"\x15\x03\x03", "220 mail.example ESMTP\r\n", "hi"}) {
    server.serve({.pieces = {{bytes}}, .ending = Ending::close});
    auto outcome = exchange({.url = server.url()});
    ASSERT_TRUE(std::holds_alternative<HttpResponse>(outcome)) << bytes;
    EXPECT_EQ(std::get<HttpResponse>(outcome).status, std::nullopt) << bytes;
  }
  server.serve({.pieces = {}, .ending = Ending::close});
  EXPECT_NE(failure({.url = server.url()}), "") << "a connection that closes without a word";
}

}  // namespace
}  // namespace pell::testing
