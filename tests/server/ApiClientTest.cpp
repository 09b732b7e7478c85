#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "server/ApiClient.h"
#include "server/ApiClientFixture.h"

namespace pell {
namespace {

using namespace pell::testing;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;
using Outcome = Keychain::ReadOutcome;

const std::string resultJson =
    R"({"transcript":"Hi.","paragraphs":["Hi."],"rawTranscript":"hi","durationSeconds":1.5,"words":1,
        "characters":3,"language":"en",
        "quota":{"minutesPerMonth":60,"usedSeconds":1,"remainingSeconds":2,"allowanceSeconds":3}})";

const std::string origin = "https://api.example.com";

class ApiClientTest : public ::testing::Test, public ApiWorld {};

TEST_F(ApiClientTest, UploadReachesTheServerWhole) {
  struct Case {
    std::optional<std::string> style;
    std::string query;
  };
  const std::vector<Case> cases{
      {std::nullopt, "language=multi"},
      {"slack-message-v2", "language=multi&style=slack-message-v2"},
      {"a b+c/d&e=ü~", "language=multi&style=a%20b%2Bc%2Fd%26e%3D%C3%BC%7E"},
      {"", "language=multi&style="},
      {"\xFF", "language=multi"},
  };
  signIn();
  for (const Case& c : cases) {
    http.requests.clear();
    http.reply(200, resultJson);
    EXPECT_EQ(await(time, transcribe(c.style)).transcript, "Hi.");
    EXPECT_THAT(urls(), ElementsAre("POST " + origin + "/api/v1/transcribe?" + c.query));
    EXPECT_EQ(header(0, "Content-Type"), "audio/mp4");
    EXPECT_EQ(header(0, "Authorization"), "Bearer first");
    EXPECT_EQ(http.requests[0].body, std::string("\0\x01\xFF", 3));
    EXPECT_EQ(http.requests[0].timeout, Seconds(60));
    EXPECT_EQ(http.requests[0].resourceTimeout, Seconds(180));
  }
}

TEST_F(ApiClientTest, OpeningASessionKeepsItsTokens) {
  http.reply(201, sessionJson("one"));
  EXPECT_EQ(await(time, api->registerAccount("me@example.com", "p\"w")).email, "me@example.com");
  EXPECT_EQ(refreshToken(), "refresh-one");
  http.reply(200, sessionJson("two"));
  EXPECT_EQ(await(time, api->signIn("me@example.com", "p\"w")).id, "u1");
  EXPECT_EQ(refreshToken(), "refresh-two");
  EXPECT_THAT(urls(), ElementsAre("POST " + origin + "/api/v1/auth/register",
                                  "POST " + origin + "/api/v1/auth/login"));
  for (std::size_t index : {0u, 1u}) {
    EXPECT_EQ(nlohmann::json::parse(http.requests[index].body),
              nlohmann::json({{"email", "me@example.com"}, {"password", "p\"w"}}));
    EXPECT_EQ(header(index, "Content-Type"), "application/json");
    EXPECT_EQ(header(index, "Authorization"), "none");
  }
  http.reply(200, accountJson);
  EXPECT_EQ(await(time, api->account())->email, "me@example.com");
  EXPECT_EQ(header(2, "Authorization"), "Bearer two");
  EXPECT_TRUE(sink.text().empty());
}

TEST_F(ApiClientTest, EveryWayToGoWrongHasASentence) {
  const auto answer = [](std::optional<int> status, std::string body) {
    return HttpOutcome(HttpResponse{.status = status, .headers = {}, .body = std::move(body)});
  };
  struct Case {
    std::string name;
    HttpOutcome outcome;
    ApiFailure failure;
    std::string sentence;
  };
  const std::vector<Case> cases{
      {"nobody there", HttpFailure{"no route"}, ApiFailure::offline(),
       "Pell can't reach the server. Check your connection and try again."},
      {"another protocol", answer(std::nullopt, "SSH-2.0"), ApiFailure::malformedResponse(),
       "The server sent something Pell could not read."},
      {"status of the body", answer(500, errorJson("BROKEN", 503, "Try later.")),
       ApiFailure::api("BROKEN", "Try later.", 503), "Try later."},
      {"a page", answer(500, "<html>oops</html>"), ApiFailure::api("INTERNAL", "Request failed (500).", 500),
       "Request failed (500)."},
      {"no request id", answer(502, R"({"error":"e","code":"c","status":502})"),
       ApiFailure::api("INTERNAL", "Request failed (502).", 502), "Request failed (502)."},
      {"allowance used up", answer(402, errorJson("QUOTA_EXCEEDED", 402, "No minutes left.")),
       ApiFailure::api("QUOTA_EXCEEDED", "No minutes left.", 402), "No minutes left."},
  };
  signIn();
  for (const Case& c : cases) {
    http.enqueue({.outcome = c.outcome});
    const auto failure = failureOf(transcribe());
    ASSERT_TRUE(failure) << c.name;
    EXPECT_TRUE(*failure == c.failure) << c.name;
    EXPECT_EQ(failure->description(), c.sentence) << c.name;
    EXPECT_EQ(failure->isQuotaExceeded(), c.name == "allowance used up") << c.name;
  }
  http.reply(409, errorJson("EMAIL_UNAVAILABLE", 409));
  EXPECT_TRUE(failureOf(api->registerAccount("a", "b"))->isEmailUnavailable());
}

TEST_F(ApiClientTest, AddressesThatCannotBeAskedAreNotAsked) {
  signIn();
  auto upload = ApiClient::Upload{.audio = "x", .contentType = "audio/mp4", .language = "e n", .style = {}};
  EXPECT_TRUE(*failureOf(api->transcribe(upload)) == ApiFailure::malformedResponse());
  defaults.set("apiBaseURL", std::string("http://192.168.1.4:8787"));
  EXPECT_TRUE(*failureOf(transcribe()) == ApiFailure::offline());
  EXPECT_THAT(http.requests, IsEmpty());
  defaults.set("apiBaseURL", std::string("http://127.0.0.1:8787"));
  http.reply(200, resultJson);
  await(time, transcribe());
  EXPECT_THAT(urls(), ElementsAre("POST http://127.0.0.1:8787/api/v1/transcribe?language=multi"));
}

TEST_F(ApiClientTest, TenCallersShareOneRefresh) {
  storeRefreshToken("stored");
  http.reply(200, sessionJson("renewed"), Seconds(1));
  http.responder = [](const HttpRequest&) {
    return MemoryHttpSession::Reply{.outcome =
                                        HttpResponse{.status = 200, .headers = {}, .body = accountJson}};
  };
  std::vector<Pending<std::optional<Account>>> calls;
  for (int caller = 0; caller < 10; ++caller) {
    calls.push_back(start(callers, api->account()));
    time.advance(Seconds(0.05));
  }
  time.advance(Seconds(5));
  for (const auto& call : calls) EXPECT_EQ(call.get()->id, "u1");
  EXPECT_EQ(urls()[0], "POST " + origin + refreshPath);
  EXPECT_EQ(http.requests[0].body, R"({"refreshToken":"stored"})");
  EXPECT_EQ(header(0, "Authorization"), "none");
  ASSERT_EQ(http.requests.size(), 11u);
  for (std::size_t index = 1; index < 11; ++index)
    EXPECT_EQ(header(index, "Authorization"), "Bearer renewed");
  EXPECT_EQ(items.reads, 1);
  EXPECT_EQ(refreshToken(), "refresh-renewed");
}

TEST_F(ApiClientTest, FailedRefreshReachesEveryCallerAndKeepsTheSession) {
  struct Case {
    HttpOutcome outcome;
    ApiFailure failure;
  };
  const auto answer = [](int status, std::string body) {
    return HttpOutcome(HttpResponse{.status = status, .headers = {}, .body = std::move(body)});
  };
  const std::vector<Case> cases{
      {HttpFailure{"down"}, ApiFailure::offline()},
      {answer(503, errorJson("BUSY", 503, "Busy.")), ApiFailure::api("BUSY", "Busy.", 503)},
      {answer(200, "{}"), ApiFailure::malformedResponse()},
  };
  storeRefreshToken("stored");
  for (const Case& c : cases) {
    http.requests.clear();
    http.enqueue({.outcome = c.outcome, .delay = Seconds(1)});
    const auto first = start(callers, transcribe());
    const auto second = start(callers, api->account());
    time.advance(Seconds(5));
    EXPECT_TRUE(failureIn(first) == c.failure);
    EXPECT_TRUE(failureIn(second) == c.failure);
    EXPECT_EQ(http.requests.size(), 1u);
    EXPECT_EQ(refreshToken(), "stored");
  }
  EXPECT_THAT(losses, IsEmpty());
  http.reply(200, sessionJson("renewed"));
  http.reply(200, resultJson);
  EXPECT_EQ(await(time, transcribe()).words, 1);
}

TEST_F(ApiClientTest, DeadRefreshTokenEndsTheSession) {
  // With a body of the API's own, and with one that a proxy made.
  for (const std::string& body : {errorJson("TOKEN_REUSED", 401), std::string("<html>")}) {
    storeRefreshToken("dead");
    losses.clear();
    http.reply(401, body, Seconds(1));
    const auto first = start(callers, transcribe());
    const auto second = start(callers, transcribe());
    time.advance(Seconds(2));
    for (const auto& call : {first, second}) {
      EXPECT_TRUE(failureIn(call) == ApiFailure::signedOut());
    }
    EXPECT_THAT(losses, ElementsAre(Outcome::ok, Outcome::ok));
    EXPECT_EQ(refreshToken(), std::nullopt);
    EXPECT_EQ(await(time, api->lastRefreshTokenRead()), Outcome::ok);
  }
  EXPECT_EQ(ApiFailure::signedOut().description(), "Your session expired. Sign in again.");
}

TEST_F(ApiClientTest, RefusedCallsRenewOnlyOnTheServersWord) {
  struct Case {
    std::string name;
    int status;
    std::string body;
    bool renews;
  };
  const std::vector<Case> cases{{"expired", 401, errorJson("UNAUTHORIZED", 401), true},
                                {"expired, says the line alone", 401, errorJson("UNAUTHORIZED", 400), true},
                                {"a proxy's page", 401, "<html>", false},
                                {"forbidden", 403, errorJson("UNAUTHORIZED", 401), false}};
  for (const Case& c : cases) {
    signIn();
    http.reply(c.status, c.body);
    failureOf(transcribe());
    EXPECT_EQ(http.requests.size(), 1u) << c.name;
    EXPECT_EQ(refreshToken(), "refresh-first") << c.name;
    if (c.renews) http.reply(200, sessionJson("renewed"));
    http.reply(200, resultJson);
    await(time, transcribe());
    EXPECT_EQ(header(http.requests.size() - 1, "Authorization"), c.renews ? "Bearer renewed" : "Bearer first")
        << c.name;
  }
}

TEST_F(ApiClientTest, WrongPasswordLeavesTheSessionAlone) {
  signIn();
  http.reply(401, errorJson("BAD_CREDENTIALS", 401, "Wrong password."));
  EXPECT_EQ(failureOf(api->signIn("me@example.com", "wrong"))->description(), "Wrong password.");
  http.reply(200, resultJson);
  await(time, transcribe());
  EXPECT_EQ(header(1, "Authorization"), "Bearer first");
}

TEST_F(ApiClientTest, TokensEndThirtySecondsEarly) {
  struct Case {
    double expiresIn;
    double wait;
    bool renews;
  };
  for (const Case& c : std::vector<Case>{
           {30, 0, true}, {10, 0, true}, {-5, 0, true}, {90, 59, false}, {90, 60, true}, {90, 61, true}}) {
    signIn(c.expiresIn);
    time.advance(Seconds(c.wait));
    if (c.renews) http.reply(200, sessionJson("renewed", 3600));
    http.reply(200, resultJson);
    await(time, transcribe());
    EXPECT_EQ(http.requests.size(), c.renews ? 2u : 1u) << c.expiresIn << " after " << c.wait;
  }
}

TEST_F(ApiClientTest, RestoringAtStart) {
  EXPECT_EQ(await(time, api->account()), std::nullopt);
  EXPECT_EQ(await(time, api->lastRefreshTokenRead()), Outcome::absent);

  storeRefreshToken("stored");
  items.blocked = true;
  const Date before = time.now();
  EXPECT_EQ(await(time, api->account()), std::nullopt);
  EXPECT_EQ(time.now() - before, Keychain::readTimeout);
  EXPECT_EQ(await(time, api->lastRefreshTokenRead()), Outcome::timedOut);
  EXPECT_EQ(refreshToken(), "stored");
  EXPECT_THAT(http.requests, IsEmpty());
  EXPECT_THAT(losses, IsEmpty());

  items.unblock();
  http.reply(200, sessionJson("renewed"));
  http.reply(200, "null");
  EXPECT_EQ(await(time, api->account()), std::nullopt);
  http.reply(200, accountJson);
  EXPECT_EQ(await(time, api->account())->plan.displayName, "Free");

  http.reply(200, "[]");
  EXPECT_TRUE(*failureOf(api->account()) == ApiFailure::malformedResponse());
}

TEST_F(ApiClientTest, UploadWithoutASessionTellsTheHandlerWhy) {
  items.readStatus = SecureItemStatus::userCanceled;
  EXPECT_TRUE(*failureOf(transcribe()) == ApiFailure::signedOut());
  items.readStatus.reset();
  EXPECT_TRUE(*failureOf(transcribe()) == ApiFailure::signedOut());
  EXPECT_THAT(losses, ElementsAre(Outcome::refused, Outcome::absent));
  api->setSessionLostHandler(nullptr);
  EXPECT_TRUE(*failureOf(transcribe()) == ApiFailure::signedOut());
  EXPECT_THAT(http.requests, IsEmpty());
}

TEST_F(ApiClientTest, SignOutGoesThroughWhateverTheServerSays) {
  const std::vector<HttpOutcome> answers{
      HttpResponse{.status = 204, .headers = {}, .body = ""}, HttpFailure{"down"},
      HttpResponse{.status = 500, .headers = {}, .body = "<html>"},
      HttpResponse{.status = 401, .headers = {}, .body = errorJson("UNAUTHORIZED", 401)}};
  for (const auto& answer : answers) {
    signIn();
    http.enqueue({.outcome = answer});
    await(time, api->signOut());
    EXPECT_THAT(urls(), ElementsAre("POST " + origin + "/api/v1/auth/logout"));
    EXPECT_EQ(header(0, "Content-Type"), "none");
    EXPECT_EQ(refreshToken(), std::nullopt);
    EXPECT_TRUE(*failureOf(transcribe()) == ApiFailure::signedOut());
  }
  await(time, api->signOut());  // signed out already
  EXPECT_EQ(refreshToken(), std::nullopt);
}

}  // namespace
}  // namespace pell
