// The whole server over real HTTP on loopback.
#include <algorithm>
#include <fstream>
#include <gtest/gtest.h>

#include "ScriptedService.h"
#include "ServerFixture.h"
#include "SoundFile.h"

namespace pell::localserver {
namespace {

using pell::testing::TemporaryDirectory;

using nlohmann::json;

using ServerTest = ServerFixture;

TEST_F(ServerTest, AnAccountFromItsFirstToItsLastToken) {
  start(hello);
  const Answer registered =
      post("/auth/register", {{"email", " Ann@Example.org "}, {"password", "correct horse"}});
  ASSERT_EQ(registered.status, 200) << registered.body;
  const json session = registered.json();
  EXPECT_EQ(session["user"]["email"], "ann@example.org");
  EXPECT_EQ(session["user"]["isAdmin"], false);
  EXPECT_TRUE(session["user"]["plan"].is_string());
  EXPECT_EQ(session["expiresIn"], 900.0);

  const json account = me(session["accessToken"]).json();
  EXPECT_EQ(account["id"], session["user"]["id"]);
  EXPECT_EQ(account["createdAt"], "2024-12-31T00:00:00Z");
  EXPECT_EQ(account["cleanupEnabled"], true);
  EXPECT_FALSE(account.contains("cleanupPromptVersion"));
  EXPECT_EQ(account["plan"]["minutesPerMonth"], Options().minutesPerMonth);

  const json again =
      post("/auth/login", {{"email", "ANN@example.org"}, {"password", "correct horse"}}).json();
  now_ += 900;
  EXPECT_EQ(me(again["accessToken"]).errorCode(), "UNAUTHORIZED");
  const json renewed = post("/auth/refresh", {{"refreshToken", again["refreshToken"]}}).json();
  EXPECT_EQ(me(renewed["accessToken"]).status, 200);
  EXPECT_EQ(renewed["user"], session["user"]);

  start(hello);  // a restart forgets nobody
  EXPECT_EQ(me(renewed["accessToken"]).status, 200);
  EXPECT_EQ(send(server_->port(),
                 {.method = "POST", .path = "/api/v1/auth/logout", .token = renewed["accessToken"]})
                .status,
            200);
  EXPECT_EQ(me(renewed["accessToken"]).errorCode(), "UNAUTHORIZED");
  EXPECT_EQ(post("/auth/refresh", {{"refreshToken", renewed["refreshToken"]}}).errorCode(),
            "SESSION_EXPIRED");
}

TEST_F(ServerTest, EveryBadRequestGetsItsErrorBody) {
  start(hello);
  const std::string token = signUp();
  const auto credentials = [](const json& email, const json& password) {
    return json{{"email", email}, {"password", password}}.dump();
  };
  const auto to = [](const std::string& path, const std::string& body,
                     const std::string& type = "application/json") {
    return Ask{.method = "POST", .path = "/api/v1" + path, .contentType = type, .body = body};
  };
  const auto signedIn = [&](const std::string& method, const std::string& path, const std::string& body) {
    Ask ask = to(path, body);
    ask.method = method;
    ask.token = token;
    return ask;
  };
  const auto upload = [&](const std::string& type, const std::string& body, const std::string& query = "") {
    Ask ask = to("/transcribe" + query, body, type);
    ask.token = token;
    return ask;
  };
  const std::string good = "correct horse";
  struct {
    Ask ask;
    long status;
    const char* code;
  } const rows[] = {
      {{.path = "/api/v1/me/"}, 404, "NOT_FOUND"},
      {{.path = "/api/v1/%00me"}, 404, "NOT_FOUND"},
      {{.method = "PUT", .path = "/api/v1/me"}, 405, "METHOD_NOT_ALLOWED"},
      {{.path = "/api/v1/me"}, 401, "UNAUTHORIZED"},
      {{.path = "/api/v1/me", .token = "' or 1=1 --"}, 401, "UNAUTHORIZED"},
      {to("/auth/login", "{}", "text/plain"), 415, "UNSUPPORTED_MEDIA_TYPE"},
      {to("/auth/login", ""), 400, "BAD_REQUEST"},
      {to("/auth/login", "[]"), 400, "BAD_REQUEST"},
      {to("/auth/login", std::string(60'000, '[')), 400, "BAD_REQUEST"},
      {to("/auth/login", std::string(70'000, ' ')), 413, "PAYLOAD_TOO_LARGE"},
      {to("/auth/login", credentials("a@b", 5)), 400, "BAD_REQUEST"},
      {to("/auth/register", "{\"email\":\"\xff@b\",\"password\":\"correct horse\"}"), 400, "BAD_REQUEST"},
      {to("/auth/register", credentials("a@b@c", good)), 400, "INVALID_EMAIL"},
      {to("/auth/register", credentials("a b@c", good)), 400, "INVALID_EMAIL"},
      {to("/auth/register", credentials("a@b\r\nBcc: c", good)), 400, "INVALID_EMAIL"},
      {to("/auth/register", credentials("a,b@c", good)), 400, "INVALID_EMAIL"},
      {to("/auth/register", credentials(std::string(255, 'a') + "@b", good)), 400, "INVALID_EMAIL"},
      {to("/auth/register", credentials("b@example.org", "९ chars..")), 400, "WEAK_PASSWORD"},
      {to("/auth/register", credentials("b@example.org", std::string(2000, 'p'))), 400, "WEAK_PASSWORD"},
      {to("/auth/register", credentials("ANN@example.org", good)), 409, "EMAIL_UNAVAILABLE"},
      {to("/auth/login", credentials("ann@example.org", "wrong horse")), 401, "INVALID_CREDENTIALS"},
      {to("/auth/login", credentials("nobody@example.org", good)), 401, "INVALID_CREDENTIALS"},
      {to("/auth/refresh", R"({"refreshToken":"x"})"), 401, "SESSION_EXPIRED"},
      {to("/auth/password/reset-request", "{}"), 400, "BAD_REQUEST"},
      {{.method = "DELETE", .path = "/api/v1/me"}, 401, "UNAUTHORIZED"},
      {{.path = "/api/v1/app-config"}, 404, "NOT_FOUND"},
      {signedIn("PATCH", "/me/preferences", R"({"cleanupEnabled":"true"})"), 400, "BAD_REQUEST"},
      {signedIn("PATCH", "/me/preferences", R"({"cleanupPromptVersion":7})"), 400, "BAD_REQUEST"},
      {signedIn("PATCH", "/me/preferences", R"({"cleanupPromptVersion":""})"), 400, "UNKNOWN_STYLE"},
      {signedIn("PATCH", "/me/preferences", R"({"cleanupPromptVersion":"none-v1"})"), 400, "UNKNOWN_STYLE"},
      {signedIn("POST", "/me/achievements", R"({"milestone":"words.100"})"), 400, "UNKNOWN_MILESTONE"},
      {signedIn("POST", "/me/achievements", R"({"milestone":["action.microphone"]})"), 400, "BAD_REQUEST"},
      {to("/transcribe", "", "audio/mp4"), 401, "UNAUTHORIZED"},
      {upload("video/mp4", ""), 415, "UNSUPPORTED_MEDIA_TYPE"},
      {upload("audio/mp4", ""), 422, "BAD_AUDIO"},
      {upload("audio/wav", std::string(5000, 'g')), 422, "BAD_AUDIO"},
      {upload("audio/mp4", "x", "?language=xx"), 400, "UNSUPPORTED_LANGUAGE"},
      {upload("audio/mp4", std::string((25u << 20) + 1, 'x'), "?language=en"), 413, "PAYLOAD_TOO_LARGE"},
  };
  for (const auto& [ask, status, code] : rows) {
    const Answer answer = send(server_->port(), ask);
    EXPECT_EQ(answer.status, status) << ask.method << " " << ask.path << " " << ask.body.substr(0, 80);
    EXPECT_EQ(answer.errorCode(), code) << ask.method << " " << ask.path << " " << ask.body.substr(0, 80);
  }
}

TEST_F(ServerTest, ADictationComesBackCountedAndMetered) {
  start("cat >/dev/null; printf ' Hello there.\\nहिंदी e\\314\\201\\377 \\n'");
  const std::string token = signUp();
  const Answer answer = transcribe(token, mp4File(tone(2)), "?language=multi&style=slack-message-v2");
  ASSERT_EQ(answer.status, 200) << answer.body;
  const json result = answer.json();
  EXPECT_EQ(result["transcript"], "Hello there.\nहिंदी e\u0301\uFFFD");
  EXPECT_EQ(result["paragraphs"], json({"Hello there.", "हिंदी e\u0301\uFFFD"}));
  EXPECT_EQ(result["rawTranscript"], " Hello there.\nहिंदी e\u0301\uFFFD \n");
  EXPECT_EQ(result["words"], 4);
  EXPECT_EQ(result["characters"], 18);
  EXPECT_EQ(result["language"], "multi");
  EXPECT_NEAR(result["durationSeconds"], 2.0, 0.1);
  EXPECT_EQ(result["cleanupPromptVersionTitle"], "Slack message");
  for (const char* absent : {"confidence"}) EXPECT_FALSE(result.contains(absent));
  const double seconds = result["durationSeconds"];
  const json quota = {{"minutesPerMonth", 6000},
                      {"allowanceSeconds", 360'000.0},
                      {"usedSeconds", seconds},
                      {"remainingSeconds", 360'000.0 - seconds}};
  EXPECT_EQ(result["quota"], quota);
}

TEST_F(ServerTest, ADictationIsWrittenInTheStyleThatTheRequestOrTheAccountNames) {
  start("cat >/dev/null; printf ' um see you comma ann \\n'");
  const std::string token = signUp();
  const std::string sound = wavFile(tone(1));
  const std::string raw = "um see you comma ann";
  struct {
    json preferences;
    const char* query;
    std::string transcript;
    json title;
  } const rows[] = {
      {json::object(), "?language=en", "See you, ann.", "Improved writing"},
      {json::object(), "?language=en&style=search-query-v1", raw, "Search query"},
      {{{"cleanupPromptVersion", "slack-message-v1"}},
       "?language=en&style=unknown",
       "See you, ann",
       "Slack message"},
      {json::object(), "?language=en&style=basic-cleanup-v1", "See you, ann.", "Basic cleanup"},
      {{{"cleanupEnabled", false}}, "?language=en&style=basic-cleanup-v1", raw, nullptr},
  };
  for (const auto& [preferences, query, transcript, title] : rows) {
    ASSERT_EQ(call("PATCH", "/me/preferences", preferences, token).status, 200);
    const json result = transcribe(token, sound, query, "audio/wav").json();
    EXPECT_EQ(result["transcript"], transcript) << query;
    EXPECT_EQ(result["paragraphs"], json({transcript})) << query;
    EXPECT_EQ(result["rawTranscript"], " " + raw + " \n") << query;
    EXPECT_EQ(result.value("cleanupPromptVersionTitle", json()), title) << query;
  }
  const json catalogue = get("/cleanup-styles", token).json();
  EXPECT_EQ(catalogue, StyleCatalogue::reply());

  ScriptedService service("/v1/chat/completions");
  Options options;
  options.cleaner = ServiceAddress{.url = service.url, .model = "small", .keyFile = std::nullopt};
  start("cat >/dev/null; echo ' see you '", options);
  const std::string bob = signUp("bob@example.org");
  service.reply.body = R"({"choices":[{"message":{"content":"See you!"}}]})";
  EXPECT_EQ(transcribe(bob, sound, "?language=en", "audio/wav").json()["transcript"], "See you!");
  service.reply.body = "{}";
  const json uncleaned = transcribe(bob, sound, "?language=en", "audio/wav").json();
  EXPECT_EQ(uncleaned["transcript"], "see you");
  EXPECT_FALSE(uncleaned.contains("cleanupPromptVersionTitle"));
}

TEST_F(ServerTest, SilenceIsAnEmptyDictationAndNobodyIsAsked) {
  start("cat >/dev/null; echo invented");
  const Answer answer = transcribe(signUp(), mp4File(Pcm(speechRate)));
  ASSERT_EQ(answer.status, 200) << answer.body;
  EXPECT_EQ(answer.json()["transcript"], "");
  EXPECT_EQ(answer.json()["paragraphs"], json::array());
  EXPECT_EQ(answer.json()["words"], 0);
  EXPECT_EQ(answer.json()["characters"], 0);
}

TEST_F(ServerTest, TheMonthsAllowanceEndsAndReturns) {
  Options options;
  options.minutesPerMonth = 1;
  start(hello, options);
  const std::string ann = signUp();
  const std::string sound = wavFile(tone(40));
  EXPECT_EQ(transcribe(ann, sound, "?language=en", "audio/wav").json()["quota"]["remainingSeconds"], 20.0);
  EXPECT_EQ(transcribe(ann, sound, "?language=en", "audio/wav").json()["quota"]["remainingSeconds"], 0.0);
  const Answer refused = transcribe(ann, "not even sound", "?language=en", "audio/wav");
  EXPECT_EQ(refused.errorCode(), "QUOTA_EXCEEDED");
  EXPECT_EQ(refused.status, 402);
  EXPECT_EQ(transcribe(signUp("bob@example.org"), sound, "?language=en", "audio/wav").status, 200);
  now_ += 86'400;  // the first of the next month
  const std::string later = post("/auth/login", {{"email", "ann@example.org"}, {"password", "correct horse"}})
                                .json()["accessToken"];
  EXPECT_EQ(transcribe(later, sound, "?language=en", "audio/wav").json()["quota"]["usedSeconds"], 40.0);
}

TEST_F(ServerTest, WhatCanBeRefusedBeforeTheRecordingCameIs) {
  Options options;
  options.minutesPerMonth = 1;
  start(hello, options);
  const std::string ann = signUp();
  const std::string bob = signUp("bob@example.org");
  std::vector<std::unique_ptr<RawConnection>> underway;
  const auto reply = [&](const std::string& token, const std::string& language) {
    underway.push_back(std::make_unique<RawConnection>(server_->port()));
    underway.back()->write("POST /api/v1/transcribe?language=" + language +
                           " HTTP/1.1\r\nHost: x\r\nExpect: 100-continue\r\nContent-Length: 1000\r\n"
                           "Content-Type: audio/wav\r\nAuthorization: Bearer " +
                           token + "\r\n\r\n");
    const std::string head = underway.back()->read("\r\n\r\n");
    if (head.starts_with("HTTP/1.1 100")) return std::string("go on");
    return head.find('}') == std::string::npos ? underway.back()->read("}") : head;
  };
  EXPECT_NE(reply(ann, "xx").find("UNSUPPORTED_LANGUAGE"), std::string::npos);
  for (std::size_t i = 0; i < Router::lengthyPerUser; ++i) EXPECT_EQ(reply(ann, "en"), "go on");
  EXPECT_NE(reply(ann, "en").find("TOO_MANY_DICTATIONS"), std::string::npos);
  const std::string sound = wavFile(tone(61));
  EXPECT_EQ(transcribe(bob, sound, "?language=en", "audio/wav").status, 200) << "others go on";
  EXPECT_NE(reply(bob, "en").find("QUOTA_EXCEEDED"), std::string::npos);
  underway.clear();
  long later = 429;
  while (later == 429) later = transcribe(ann, sound, "?language=en", "audio/wav").status;
  EXPECT_EQ(later, 200) << "what was given up is over";
}

TEST_F(ServerTest, FailedWorkIsNotCharged) {
  const auto flag = directory_.path() / "works";
  start("cat >/dev/null; test -e " + flag.string() + " && echo hello");
  const std::string token = signUp();
  const std::string sound = wavFile(tone(3));
  const Answer failed = transcribe(token, sound, "?language=en", "audio/wav");
  EXPECT_EQ(failed.status, 502);
  EXPECT_EQ(failed.errorCode(), "TRANSCRIPTION_FAILED");
  EXPECT_EQ(failed.json()["request_id"], failed.headers.at("x-request-id"));
  std::ofstream(flag) << "yes";
  EXPECT_EQ(transcribe(token, sound, "?language=en", "audio/wav").json()["quota"]["usedSeconds"], 3.0);
}

TEST_F(ServerTest, TheLogAndTheDatabaseHoldNoSecret) {
  start("cat >/dev/null; echo canarysentence; echo canarysentence >&2");
  const json session =
      post("/auth/register", {{"email", "canaryname@example.org"}, {"password", "canarypassword"}}).json();
  const std::string token = session["accessToken"];
  transcribe(token, mp4File(tone(1)), "?language=en&style=canarystyle");
  transcribe(token, "garbage canarysound");
  post("/auth/login", {{"email", "canaryname@example.org"}, {"password", "canarypassworx"}});
  get("/me/usage?token=canarytoken", token);
  post("/auth/password/reset-request", {{"email", "canaryname@example.org"}});
  post("/me/email/verify/resend", {}, token);
  server_.reset();

  std::string log;
  std::rewind(logFile_);
  for (int c = std::fgetc(logFile_); c != EOF; c = std::fgetc(logFile_)) log += static_cast<char>(c);
  EXPECT_EQ(std::count(log.begin(), log.end(), '\n'), 7) << log;
  EXPECT_NE(log.find("\"path\":\"/api/v1/transcribe\""), std::string::npos) << log;
  EXPECT_EQ(log.find("canary"), std::string::npos) << log;
  std::ifstream stream(directory_.path() / "server.db", std::ios::binary);
  const std::string database{std::istreambuf_iterator<char>(stream), {}};
  EXPECT_NE(database.find("canaryname"), std::string::npos);
  for (const std::string& secret : {token, session["refreshToken"].get<std::string>(),
                                    std::string("canarypass"), std::string("canarysentence")}) {
    EXPECT_EQ(log.find(secret), std::string::npos);
    EXPECT_EQ(database.find(secret), std::string::npos);
  }
}

TEST_F(ServerTest, WhatKeepsItFromStartingIsExplained) {
  start(hello);
  const auto failure = [this](const Options& options) -> std::string {
    try {
      const Server other(
          {.options = options, .log = log_, .now = [] { return 0; }, .passwordCost = PasswordCost::least()});
      return "";
    } catch (const StartFailure& reason) {
      return reason.what();
    }
  };
  const TemporaryDirectory elsewhere;
  std::ofstream(elsewhere.path() / "file") << "no directory";
  Options options{.port = server_->port(), .data = elsewhere.path(), .recogniser = RecogniserCommand{hello}};
  EXPECT_NE(failure(options).find("in use"), std::string::npos);
  options.port = 0;
  options.host = "no such host";
  EXPECT_NE(failure(options).find(options.host), std::string::npos);
  options.host = "127.0.0.1";
  options.data = elsewhere.path() / "file";
  EXPECT_NE(failure(options).find((elsewhere.path() / "file").string()), std::string::npos);
  options.data = elsewhere.path();
  options.recogniser =
      ServiceAddress{.url = "http://x", .model = "m", .keyFile = elsewhere.path() / "no-key"};
  EXPECT_NE(failure(options).find("no-key"), std::string::npos);
  std::ofstream(elsewhere.path() / "no-key") << "canary";
  std::filesystem::permissions(elsewhere.path() / "no-key", std::filesystem::perms(0644));
  EXPECT_NE(failure(options).find("chmod"), std::string::npos);
  std::filesystem::permissions(elsewhere.path() / "no-key", std::filesystem::perms(0640));
  EXPECT_EQ(failure(options), "");

  EXPECT_TRUE(server_->warnings().empty());
  Options open;
  open.host = "0.0.0.0";
  start(hello, open);
  EXPECT_EQ(server_->warnings().size(), 2u) << "others can listen, and links in letters lead to 0.0.0.0";
  open.publicUrl = "https://pell.example.org";
  start(hello, open);
  EXPECT_EQ(server_->warnings().size(), 1u);
}

}  // namespace
}  // namespace pell::localserver
