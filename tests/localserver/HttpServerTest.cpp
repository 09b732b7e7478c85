// The HTTP face by itself: who waits for whom, and what a connection sees.
#include <future>
#include <gtest/gtest.h>
#include <latch>

#include "HttpClient.h"
#include "localserver/HttpServer.h"
#include "localserver/Listen.h"
#include "localserver/Secrets.h"

namespace pell::localserver {
namespace {

/// "/echo" gives the body back; "/wait" ends when the test says so; "/refuse" is turned away; "/decide" is
/// decided about when the test says so.
class TestApplication : public HttpApplication {
 public:
  Admission admit(const RequestHead& head) override {
    Admission admission;
    admission.bodyLimit = 100'000;
    if (head.path == "/wait" || head.path == "/until-stopped") admission.effort = Effort::lengthy;
    if (head.path == "/password") admission.effort = Effort::password;
    if (head.path == "/decide") {
      started_.count_down();
      released_.wait();
    }
    if (head.path == "/refuse") {
      admission.refusal = errorReply({403, "REFUSED", "No."}, head.id);
    } else if (head.path == "/wait" || head.path == "/password") {
      admission.work = [this](const HttpRequest& request) {
        released_.wait();
        return errorReply({502, "LATE", "Too late."}, request.head.id);
      };
    } else if (head.path == "/until-stopped") {
      admission.work = [this](const HttpRequest& request) {
        started_.count_down();
        std::mutex mutex;
        std::unique_lock lock(mutex);
        std::condition_variable_any().wait(lock, request.stop, [] { return false; });
        stopped_.count_down();
        return HttpReply{};
      };
    } else {
      admission.work = [](const HttpRequest& request) {
        return HttpReply{.status = 200, .body = "\"" + request.body + "\"", .headers = {}};
      };
    }
    return admission;
  }

  std::latch released_{1};
  std::latch started_{1};
  std::latch stopped_{1};
};

class HttpServerTest : public ::testing::Test {
 protected:
  void start(HttpServer::Limits limits = {}) {
    startCryptography();
    const ListenSocket socket = listenOn("127.0.0.1", 0);
    port_ = socket.port;
    server_.emplace(HttpServer::Setup{.socket = socket,
                                      .application = application_,
                                      .finished =
                                          [this](const RequestSummary& request) {
                                            const std::lock_guard lock(mutex_);
                                            statuses_.push_back(request.status);
                                          },
                                      .limits = limits});
  }

  void expectOthersServed() {
    EXPECT_EQ(send(port_, {.method = "POST", .path = "/echo", .body = "hello"}).body, "\"hello\"");
  }

  TestApplication application_;
  std::uint16_t port_ = 0;
  std::mutex mutex_;
  std::vector<int> statuses_;
  std::optional<HttpServer> server_;
};

TEST_F(HttpServerTest, LengthyWorkSendsBlanksAndThenTheReply) {
  start({.blankEvery = std::chrono::milliseconds(20)});
  RawConnection connection(port_);
  connection.write("POST /wait HTTP/1.1\r\nHost: x\r\nContent-Length: 0\r\n\r\n");
  const std::string early = connection.read("1\r\n \r\n1\r\n \r\n");
  EXPECT_TRUE(early.starts_with("HTTP/1.1 200")) << early;
  expectOthersServed();
  application_.released_.count_down();
  const std::string late = connection.read("0\r\n\r\n");
  EXPECT_NE(late.find("\"code\":\"LATE\""), std::string::npos) << late;
  connection.write("GET /echo HTTP/1.1\r\nHost: x\r\nConnection: close\r\n\r\n");
  EXPECT_TRUE(connection.read().starts_with("HTTP/1.1 200")) << "the connection serves on";
}

TEST_F(HttpServerTest, AFloodOfPasswordsHoldsUpNobodyElse) {
  start();
  std::vector<std::future<Answer>> flood;
  for (int i = 0; i < 10; ++i) {
    flood.push_back(std::async(std::launch::async,
                               [this] { return send(port_, {.method = "POST", .path = "/password"}); }));
  }
  expectOthersServed();
  application_.released_.count_down();
  for (auto& answer : flood) EXPECT_EQ(answer.get().status, 502);
}

TEST_F(HttpServerTest, SilentAndHalfSentClientsHoldNobody) {
  start();
  std::vector<std::unique_ptr<RawConnection>> idlers;
  const std::string beginnings[] = {"", "POST /ech", "POST /echo HTTP/1.1\r\nHost: x\r\nContent-Len",
                                    "POST /echo HTTP/1.1\r\nHost: x\r\nContent-Length: 50000\r\n\r\nhalf"};
  for (int i = 0; i < 200; ++i) {
    idlers.push_back(std::make_unique<RawConnection>(port_));
    idlers.back()->write(beginnings[i % 4]);
  }
  expectOthersServed();
  for (auto& idler : idlers) idler.reset();
  expectOthersServed();
}

TEST_F(HttpServerTest, AClientThatStopsInTheMiddleIsCutOff) {
  start({.idle = std::chrono::seconds(1)});
  RawConnection connection(port_);
  connection.write("POST /echo HTTP/1.1\r\nHost: x\r\nContent-Length: 50\r\n\r\nonly this");
  EXPECT_EQ(connection.read(), "");
  expectOthersServed();
}

TEST_F(HttpServerTest, AHeadThatComesByDripsIsCutOff) {
  start({.head = std::chrono::milliseconds(300)});
  RawConnection connection(port_);
  std::string head = "GET /echo HTTP/1.1\r\nX: ";
  const auto began = std::chrono::steady_clock::now();
  std::jthread dripper([&](const std::stop_token& stop) {
    for (; !stop.stop_requested(); head = "x") {
      connection.write(head);
      std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
  });
  EXPECT_EQ(connection.read(), "");
  EXPECT_LT(std::chrono::steady_clock::now() - began, std::chrono::seconds(10));
  expectOthersServed();
}

TEST_F(HttpServerTest, BodiesPastTheLimitAreRefusedUnread) {
  start();
  struct {
    const char* name;
    std::string request;
  } const requests[] = {
      {"declared", "POST /echo HTTP/1.1\r\nHost: x\r\nContent-Length: 100001\r\n\r\n"},
      {"declared beyond all sense", "POST /echo HTTP/1.1\r\nHost: x\r\nContent-Length: 9000000000\r\n\r\n"},
      {"asking first",
       "POST /echo HTTP/1.1\r\nHost: x\r\nExpect: 100-continue\r\nContent-Length: 100001\r\n\r\n"},
      {"undeclared", "POST /echo HTTP/1.1\r\nHost: x\r\nTransfer-Encoding: chunked\r\n\r\n186a1\r\n" +
                         std::string(100'001, 'x') + "\r\n0\r\n\r\n"},
  };
  for (const auto& [name, request] : requests) {
    RawConnection connection(port_);
    connection.write(request);
    const std::string reply = connection.read("}");
    EXPECT_TRUE(reply.starts_with("HTTP/1.1 413")) << name << ": " << reply;
    EXPECT_NE(reply.find("\"PAYLOAD_TOO_LARGE\""), std::string::npos) << name;
  }
  const std::string largest(100'000, 'x');
  EXPECT_EQ(send(port_, {.method = "POST", .path = "/echo", .body = largest}).body.size(), 100'002u);
}

TEST_F(HttpServerTest, BodiesTogetherTakeOnlySoMuch) {
  start({.bodies = 150'000});
  const std::string large(90'000, 'x');
  RawConnection holder(port_);
  holder.write("POST /echo HTTP/1.1\r\nHost: x\r\nContent-Length: 90001\r\n\r\n" + large);
  Answer answer{.status = 200};
  for (int attempt = 0; attempt < 500 && answer.status == 200; ++attempt) {
    answer = send(port_, {.method = "POST", .path = "/echo", .body = large});
  }
  EXPECT_EQ(answer.errorCode(), "BUSY");
  EXPECT_EQ(answer.status, 503);
  EXPECT_TRUE(answer.headers.contains("retry-after"));
  RawConnection undeclared(port_);
  undeclared.write("POST /echo HTTP/1.1\r\nHost: x\r\nTransfer-Encoding: chunked\r\n\r\n15f90\r\n" + large +
                   "\r\n0\r\n\r\n");
  EXPECT_TRUE(undeclared.read("}").starts_with("HTTP/1.1 503"));
  expectOthersServed();
  holder.write("y");
  EXPECT_TRUE(holder.read("y\"").starts_with("HTTP/1.1 200"));
  EXPECT_EQ(send(port_, {.method = "POST", .path = "/echo", .body = large}).status, 200) << "room again";
}

TEST_F(HttpServerTest, ADecisionThatTakesLongHoldsUpNobody) {
  start();
  auto waiting =
      std::async(std::launch::async, [this] { return send(port_, {.method = "POST", .path = "/decide"}); });
  application_.started_.wait();
  expectOthersServed();
  auto ending = std::async(std::launch::async, [this] { server_.reset(); });
  EXPECT_EQ(waiting.get().errorCode(), "UNAVAILABLE");
  application_.released_.count_down();
  ending.get();
}

TEST_F(HttpServerTest, RefusedRequestsAreReadToTheirEnd) {
  start();
  // Closing on unread bytes would reset the connection, and the client would see no reply at all.
  const Ask ask{
      .method = "POST", .path = "/refuse", .body = std::string(60'000, 'x'), .headers = {"Expect:"}};
  for (int i = 0; i < 20; ++i) EXPECT_EQ(send(port_, ask).errorCode(), "REFUSED");
}

TEST_F(HttpServerTest, NoiseInsteadOfHttpDoesNoHarm) {
  start();
  const std::string noises[] = {"\x16\x03\x01\x02\x00\x01",
                                "GET\r\n\r\n",
                                std::string(200'000, 'A'),
                                "GET / HTTP/1.1\r\nContent-Length: -5\r\n\r\n",
                                "POST /echo HTTP/1.1\r\nHost: x\r\nTransfer-Encoding: chunked\r\n\r\nzz\r\n",
                                "GET /" + std::string(100'000, 'a') + " HTTP/1.1\r\n\r\n"};
  for (const std::string& noise : noises) {
    RawConnection connection(port_);
    connection.write(noise);
    expectOthersServed();
  }
}

TEST_F(HttpServerTest, WorkIsStoppedWhenItsClientHasGone) {
  start({.blankEvery = std::chrono::milliseconds(20)});
  {
    RawConnection connection(port_);
    connection.write("POST /until-stopped HTTP/1.1\r\nHost: x\r\nContent-Length: 0\r\n\r\n");
    application_.started_.wait();
  }
  application_.stopped_.wait();
  expectOthersServed();
}

TEST_F(HttpServerTest, EndingAnswersThoseWhoWait) {
  start();
  auto waiting = std::async(std::launch::async,
                            [this] { return send(port_, {.method = "POST", .path = "/until-stopped"}); });
  application_.started_.wait();
  server_.reset();
  EXPECT_EQ(waiting.get().errorCode(), "UNAVAILABLE");
  EXPECT_EQ(statuses_, std::vector<int>{503});
}

}  // namespace
}  // namespace pell::localserver
