// What every HttpSession does.
#pragma once

#include "contracts/Served.h"
#include "contracts/World.h"
#include "platform/HttpSession.h"

namespace pell::testing {

/// A session and a server on loopback.
class HttpSessionWorld : public World {
 public:
  virtual HttpSession& session() = 0;
  virtual void destroySession() = 0;
  virtual std::string baseUrl() const = 0;  // "http://..." without a last slash
  virtual void serve(ServedReply reply) = 0;
  virtual void stopListening() = 0;
  virtual std::vector<ServedRequest> received() const = 0;
};

class HttpSessionContract : public Contract<HttpSessionWorld> {
 protected:
  using Box = std::shared_ptr<Inbox<HttpOutcome>>;

  Box send(HttpRequest request) {
    auto box = std::make_shared<Inbox<HttpOutcome>>();
    world().session().send(std::move(request), [box](HttpOutcome outcome) { box->put(std::move(outcome)); });
    return box;
  }
  Box get(const std::string& path) { return send({.url = world().baseUrl() + path}); }

  /// The one outcome, once it is there.
  HttpOutcome outcome(const Box& box) {
    if (!world().waitUntil([&] { return box->size() > 0; })) {
      ADD_FAILURE() << "no outcome";
      return HttpFailure{"no outcome"};
    }
    world().settle();
    EXPECT_EQ(box->size(), 1u);
    return box->all().front();
  }
  HttpResponse response(const Box& box) {
    auto result = outcome(box);
    if (auto* failure = std::get_if<HttpFailure>(&result)) {
      ADD_FAILURE() << "failed: " << failure->description;
      return {};
    }
    return std::get<HttpResponse>(result);
  }
  void expectFailure(const Box& box) {
    auto result = outcome(box);
    ASSERT_TRUE(std::holds_alternative<HttpFailure>(result));
    EXPECT_NE(std::get<HttpFailure>(result).description, "");
  }
};

TEST_P(HttpSessionContract, BringsTheReplyByteForByte) {
  const std::string body("h\xC3\xA9\0\xFF\r\n end", 11);
  world().serve({.status = 201, .headers = {{"X-Mixed-CASE", "Kept As Is"}}, .body = body});
  auto reply = response(get("/thing"));
  EXPECT_EQ(reply.status, 201);
  EXPECT_EQ(reply.body, body);
  EXPECT_EQ(reply.headers["x-mixed-case"], "Kept As Is");
}

TEST_P(HttpSessionContract, SendsTheRequestAsItIs) {
  const std::string body("\x00\x01 audio \xFE\r\n--", 13);
  world().serve({});
  response(send({.url = world().baseUrl() + "/a/b?c=d%20e",
                 .method = "PUT",
                 .headers = {{"X-One", "1"}, {"Content-Type", "audio/mp4"}},
                 .body = body}));
  ASSERT_EQ(world().received().size(), 1u);
  auto request = world().received().front();
  EXPECT_EQ(request.method, "PUT");
  EXPECT_EQ(request.path, "/a/b?c=d%20e");
  EXPECT_EQ(request.headers["x-one"], "1");
  EXPECT_EQ(request.headers["content-type"], "audio/mp4");
  EXPECT_EQ(request.body, body);
}

TEST_P(HttpSessionContract, TakesErrorStatusesAndRedirectsAsReplies) {
  for (int status : {204, 302, 401, 404, 429, 500}) {
    std::string body = status == 204 ? "" : "<html>" + std::to_string(status) + "</html>";
    world().serve(
        {.status = status, .headers = {{"Location", world().baseUrl() + "/elsewhere"}}, .body = body});
    auto reply = response(get("/s"));
    EXPECT_EQ(reply.status, status);
    EXPECT_EQ(reply.body, body);
  }
  EXPECT_EQ(world().received().size(), 6u) << "a redirect was followed";
}

TEST_P(HttpSessionContract, KeepsNoCookies) {
  world().serve({.headers = {{"Set-Cookie", "session=1; Path=/"}}});
  response(get("/first"));
  world().serve({});
  response(get("/second"));
  ASSERT_EQ(world().received().size(), 2u);
  EXPECT_EQ(world().received().back().headers.count("cookie"), 0u);
}

TEST_P(HttpSessionContract, FailsWhenTheReplyBreaksOff) {
  world().serve({.manner = ServedReply::Manner::breakOff, .body = std::string(4000, 'x')});
  expectFailure(get("/half"));
}

TEST_P(HttpSessionContract, FailsWhenNobodyListens) {
  world().stopListening();
  expectFailure(get("/nobody"));
}

TEST_P(HttpSessionContract, GivesNoStatusWhenTheAnswerIsNotHttp) {
  world().serve({.manner = ServedReply::Manner::notHttp, .body = "SSH-2.0-Something\r\n"});
  EXPECT_EQ(response(get("/other")).status, std::nullopt);
}

TEST_P(HttpSessionContract, GivesUpAfterEitherLimit) {
  const std::vector<std::pair<double, double>> limits{{0.3, 60}, {60, 0.3}};
  for (auto [idle, total] : limits) {
    world().serve({.manner = ServedReply::Manner::silence});
    auto start = world().now();
    expectFailure(send(
        {.url = world().baseUrl() + "/never", .timeout = Seconds(idle), .resourceTimeout = Seconds(total)}));
    EXPECT_LT(Seconds(world().now() - start).count(), 8.0);
  }
}

TEST_P(HttpSessionContract, SlowRequestsHoldNobodyUp) {
  world().serve({.body = "slow", .delay = Seconds(2)});
  auto slow = get("/slow");
  ASSERT_TRUE(world().waitUntil([&] { return world().received().size() == 1; }));
  world().serve({.body = "fast"});
  auto fast = get("/fast");
  ASSERT_TRUE(world().waitUntil([&] { return fast->size() == 1; }));
  EXPECT_EQ(slow->size(), 0u);
  EXPECT_EQ(response(slow).body, "slow");
}

TEST_P(HttpSessionContract, MayBeUsedFromACompletion) {
  world().serve({.body = "one"});
  world().serve({.body = "two"});
  Box second = std::make_shared<Inbox<HttpOutcome>>();
  auto url = world().baseUrl() + "/again";
  auto& session = world().session();
  session.send({.url = url}, [&session, url, second](const HttpOutcome&) {
    session.send({.url = url}, [second](HttpOutcome outcome) { second->put(std::move(outcome)); });
  });
  EXPECT_EQ(response(second).body, "two");
}

TEST_P(HttpSessionContract, DropsWhatIsInFlightWhenDestroyed) {
  world().serve({.body = "too late", .delay = Seconds(0.3)});
  auto box = get("/dropped");
  world().waitUntil([&] { return world().received().size() == 1; });
  world().destroySession();
  EXPECT_FALSE(world().waitUntil([&] { return box->size() > 0; }, Seconds(0.8)));
}

}  // namespace pell::testing
