// An account between its registration and its end: letters and their links, preferences, deletion.
#include <fstream>
#include <sys/stat.h>
#include <thread>

#include "ServerFixture.h"
#include "SoundFile.h"

namespace pell::localserver {
namespace {

namespace fs = std::filesystem;
using nlohmann::json;

std::string contentOf(const fs::path& file) {
  std::ifstream stream(file, std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), {}};
}

class AccountTest : public ServerFixture {
 protected:
  std::vector<fs::path> letters() const {
    std::error_code none;
    std::vector<fs::path> found;
    for (const auto& entry : fs::directory_iterator(directory_.path() / "outbox", none)) {
      if (entry.path().extension() == ".eml") found.push_back(entry.path());
    }
    return found;
  }

  /// The path of the link in the one letter with `subject` that is there, or comes within a moment; the
  /// letter is taken out.
  std::string link(const std::string& subject) {
    for (int attempt = 0; attempt < 500; ++attempt) {
      for (const fs::path& letter : letters()) {
        const std::string text = contentOf(letter);
        if (text.find("\nSubject: " + subject + "\n") == std::string::npos) continue;
        fs::remove(letter);
        const auto begin = text.find("/", text.find("http://") + 7);
        return text.substr(begin, text.find('\n', begin) - begin);
      }
      std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return "no letter";
  }

  Answer open(const std::string& path) { return send(server_->port(), {.path = path}); }

  /// Presses the button of the page that `link` opens.
  Answer submit(const std::string& link, const std::string& more = "") {
    const auto query = link.find('?');
    return send(server_->port(), {.method = "POST",
                                  .path = link.substr(0, query),
                                  .contentType = "application/x-www-form-urlencoded",
                                  .body = link.substr(query + 1) + more});
  }

  const std::string confirm_ = "Confirm your email address";
  const std::string reset_ = "Set a new password";
};

TEST_F(AccountTest, AnAddressIsConfirmedByTheButtonBehindItsLink) {
  start(hello);
  const std::string token = signUp();
  EXPECT_EQ(me(token).json()["emailVerified"], false);
  ASSERT_EQ(letters().size(), 1u);
  struct stat information {};
  ASSERT_EQ(stat(letters().front().c_str(), &information), 0);
  EXPECT_EQ(information.st_mode & 0777, 0600u);
  EXPECT_NE(contentOf(letters().front()).find("\nTo: <ann@example.org>\n"), std::string::npos);

  const std::string first = link(confirm_);
  EXPECT_EQ(post("/me/email/verify/resend", {}, token).status, 200);
  const std::string second = link(confirm_);
  const Answer page = open(first);
  EXPECT_EQ(page.status, 200);
  EXPECT_TRUE(page.headers.at("content-type").starts_with("text/html"));
  EXPECT_TRUE(page.headers.contains("content-security-policy"));
  EXPECT_EQ(me(token).json()["emailVerified"], false) << "looking is not pressing";
  EXPECT_EQ(submit("/verify-email?token=made-up").status, 410);
  EXPECT_EQ(submit(first).status, 200);
  EXPECT_EQ(me(token).json()["emailVerified"], true);
  EXPECT_EQ(submit(first).status, 410) << "it works once";
  EXPECT_EQ(submit(second).status, 410) << "and the others with it";
  EXPECT_EQ(post("/me/email/verify/resend", {}, token).status, 200);
  EXPECT_TRUE(letters().empty());
}

TEST_F(AccountTest, LettersAreHeldBackPerAccount) {
  start(hello);
  const std::string token = signUp();
  int sent = 1;
  while (post("/me/email/verify/resend", {}, token).status == 200 && sent < 50) ++sent;
  EXPECT_EQ(sent, MailedLinks::lettersPerHour);
  const Answer held = post("/me/email/verify/resend", {}, token);
  EXPECT_EQ(held.errorCode(), "TOO_MANY_ATTEMPTS");
  EXPECT_EQ(held.headers.at("retry-after"), "3600");
  EXPECT_EQ(letters().size(), static_cast<std::size_t>(MailedLinks::lettersPerHour));
  EXPECT_EQ(post("/me/email/verify/resend", {}, signUp("bob@example.org")).status, 200);
  now_ += std::chrono::seconds(MailedLinks::verificationLifetime).count();
  signUp("carl@example.org");
  EXPECT_EQ(letters().size(), 1u) << "those that nobody sent off are gone with their links";
}

TEST_F(AccountTest, AForgottenPasswordIsReplacedAndEverySignInEnds) {
  start(hello);
  const std::string token = signUp();
  const Answer known = post("/auth/password/reset-request", {{"email", " Ann@example.org"}});
  const Answer unknown = post("/auth/password/reset-request", {{"email", "nobody@example.org"}});
  EXPECT_EQ(known.status, 200);
  EXPECT_EQ(known.body, unknown.body);
  const std::string link = this->link(reset_);
  EXPECT_EQ(open(link).status, 200);
  EXPECT_EQ(open(link + "x").status, 410);
  EXPECT_EQ(submit(link, "&password=short").status, 400);
  EXPECT_EQ(submit(link + "x", "&password=a+new+p%C3%A4ssword").status, 410);
  EXPECT_EQ(signIn("correct horse").status, 200) << "nothing has happened yet";

  EXPECT_EQ(submit(link, "&password=a+new+p%C3%A4ssword").status, 200);
  EXPECT_EQ(submit(link, "&password=another+one").status, 410);
  EXPECT_EQ(me(token).errorCode(), "UNAUTHORIZED");
  EXPECT_EQ(signIn("correct horse").errorCode(), "INVALID_CREDENTIALS");
  const json session = signIn("a new pässword").json();
  EXPECT_EQ(me(session["accessToken"]).json()["emailVerified"], true)
      << "whoever follows the link has the mail";
}

TEST_F(AccountTest, LinksGrowOldAndDoOnlyWhatTheyAreFor) {
  start(hello);
  signUp();
  const std::string verification = link(confirm_);
  post("/auth/password/reset-request", {{"email", "ann@example.org"}});
  const std::string reset = link(reset_);
  const auto tokenOf = [](const std::string& link) { return link.substr(link.find('?')); };
  EXPECT_EQ(submit("/verify-email" + tokenOf(reset)).status, 410);
  EXPECT_EQ(submit("/reset-password" + tokenOf(verification), "&password=a+new+password").status, 410);
  now_ += 3600;
  EXPECT_EQ(submit(reset, "&password=a+new+password").status, 410);
  now_ += 71 * 3600;
  EXPECT_EQ(submit(verification).status, 410);
  const std::string hostile = "/verify-email?token=%22%3E%3Cscript%3E";
  EXPECT_EQ(open(hostile).body.find("<script"), std::string::npos);
}

TEST_F(AccountTest, PagesSayNoAsPages) {
  Options options;
  options.authAttemptsPerMinute = 1;
  start(hello, options);
  const std::pair<const char*, long> rows[] = {{"/verify-email?nothing=x", 400},
                                               {"/verify-email?token=x", 429},
                                               {"/reset-password?token=x", 400},
                                               {"/reset-password?token=x", 429}};
  for (const auto& [link, status] : rows) {
    const Answer answer = submit(link);
    EXPECT_EQ(answer.status, status) << link;
    EXPECT_TRUE(answer.headers.at("content-type").starts_with("text/html")) << link;
  }
}

TEST_F(AccountTest, LinksLeadWhereTheOperatorSaysAndNotTheRequest) {
  Options options;
  options.publicUrl = "http://pell.example.org/family";
  options.verifyEmail = false;
  start(hello, options);
  const std::string token = signUp();
  EXPECT_EQ(me(token).json()["emailVerified"], true);
  EXPECT_TRUE(letters().empty());
  send(server_->port(), {.method = "POST",
                         .path = "/api/v1/auth/password/reset-request",
                         .contentType = "application/json",
                         .body = R"({"email":"ann@example.org"})",
                         .headers = {"Host: evil.example", "X-Forwarded-Host: evil.example"}});
  EXPECT_TRUE(link(reset_).starts_with("/family/reset-password?token="));
}

TEST_F(AccountTest, GuessingIsHeldBackPerAddressAndKind) {
  Options options;
  options.authAttemptsPerMinute = 3;
  start(hello, options);
  const std::string token = signUp();
  const std::pair<const char*, json> guesses[] = {
      {"/auth/login", {{"email", "ann@example.org"}, {"password", "wrong horse"}}},
      {"/auth/refresh", {{"refreshToken", "made up"}}},
  };
  for (const auto& [path, guess] : guesses) {
    for (int i = 0; i < 3; ++i) EXPECT_EQ(post(path, guess).status, 401) << path;
    const Answer held = post(path, guess);
    EXPECT_EQ(held.errorCode(), "TOO_MANY_ATTEMPTS") << path;
    EXPECT_EQ(held.status, 429) << path;
    EXPECT_TRUE(held.headers.contains("retry-after")) << path;
  }
  EXPECT_EQ(me(token).status, 200) << "the signed-in go on";
}

TEST_F(AccountTest, GuessingFromManyAddressesIsHeldBackPerAccount) {
  Options options;
  options.authAttemptsPerMinute = 0;
  start(hello, options);
  signUp();
  signUp("bob@example.org");
  for (const char* email : {"ann@example.org", "nobody@example.org"}) {
    for (int i = 0; i < Accounts::guesses; ++i) EXPECT_EQ(signIn("wrong horse", email).status, 401);
    EXPECT_EQ(signIn("correct horse", email).errorCode(), "TOO_MANY_ATTEMPTS") << email;
  }
  for (int i = 0; i < Accounts::guesses + 5; ++i) {
    EXPECT_EQ(signIn("correct horse", "bob@example.org").status, 200) << "who knows it is not guessing";
  }
}

TEST_F(AccountTest, OnlyOurOwnProxySaysWhoIsGuessing) {
  const struct {
    bool behindProxy;
    const char* first;
    const char* second;
    long status;
  } rows[] = {
      {false, "10.0.0.1", "10.0.0.2", 429},
      {true, "10.0.0.1", "10.0.0.2", 401},
      {true, "10.0.0.1", "10.0.0.9, 10.0.0.1", 429},  // what the client claims comes first
      {true, "2001:db8::1", "2001:db8::2:3:4", 429},  // one network
      {true, "2001:db8::1", "2001:db8:0:1::1", 401},
      {true, "10.0.0.1", "10.0.0.9\r\nX-Forwarded-For: 10.0.0.1", 429},  // the proxy's own line is the last
      {true, "unknown", "nonsense", 429},                                // no address: the proxy's counts
  };
  for (const auto& [behindProxy, first, second, status] : rows) {
    Options options;
    options.authAttemptsPerMinute = 1;
    options.behindProxy = behindProxy;
    start(hello, options);
    long last = 0;
    for (const std::string address : {first, second}) {
      last = send(server_->port(), {.method = "POST",
                                    .path = "/api/v1/auth/login",
                                    .contentType = "application/json",
                                    .body = R"({"email":"ann@example.org","password":"wrong horse"})",
                                    .headers = {"X-Forwarded-For: " + address}})
                 .status;
    }
    EXPECT_EQ(last, status) << behindProxy << " " << first << " " << second;
  }
}

TEST_F(AccountTest, PreferencesChangeOneByOne) {
  start(hello);
  const std::string token = signUp();
  const struct {
    json change;
    bool enabled;
    json style;
  } rows[] = {
      {{{"cleanupEnabled", false}}, false, nullptr},
      {{{"cleanupPromptVersion", "basic-cleanup-v1"}}, false, "basic-cleanup-v1"},
      {json::object(), false, "basic-cleanup-v1"},
      {{{"cleanupEnabled", true}}, true, "basic-cleanup-v1"},
      {{{"cleanupPromptVersion", nullptr}}, true, nullptr},
  };
  for (const auto& [change, enabled, style] : rows) {
    const json reply = call("PATCH", "/me/preferences", change, token).json();
    EXPECT_EQ(reply["cleanupEnabled"], enabled) << change;
    EXPECT_EQ(reply.value("cleanupPromptVersion", json()), style) << change;
    const json account = me(token).json();
    EXPECT_EQ(account["cleanupEnabled"], enabled) << change;
    EXPECT_EQ(account.value("cleanupPromptVersion", json()), style) << change;
  }
  EXPECT_EQ(me(signUp("bob@example.org")).json()["cleanupEnabled"], true) << "each has their own";
}

TEST_F(AccountTest, ADeletedAccountLeavesNoTrace) {
  start(hello);
  const std::string bob = signUp("bob@example.org");
  const json session =
      post("/auth/register", {{"email", "canary@example.org"}, {"password", "correct horse"}}).json();
  const std::string token = session["accessToken"];
  const std::string other = signIn("correct horse", "canary@example.org").json()["accessToken"];
  transcribe(token, mp4File(tone(1)));
  EXPECT_EQ(call("DELETE", "/me", {}, token).status, 200);
  for (const std::string& gone : {token, other}) EXPECT_EQ(me(gone).errorCode(), "UNAUTHORIZED");
  EXPECT_EQ(post("/auth/refresh", {{"refreshToken", session["refreshToken"]}}).errorCode(),
            "SESSION_EXPIRED");
  EXPECT_EQ(signIn("correct horse", "canary@example.org").errorCode(), "INVALID_CREDENTIALS");
  EXPECT_EQ(me(bob).status, 200);
  server_.reset();
  const std::string id = session["user"]["id"];
  for (const auto& entry : fs::recursive_directory_iterator(directory_.path())) {
    if (!entry.is_regular_file()) continue;
    const std::string content = contentOf(entry.path());
    EXPECT_EQ(content.find("canary"), std::string::npos) << entry.path();
    EXPECT_EQ(content.find(id), std::string::npos) << entry.path();
  }
}

}  // namespace
}  // namespace pell::localserver
