// The whole server over real HTTP on loopback, with a clock that a test sets.
#pragma once

#include <gtest/gtest.h>

#include "HttpClient.h"
#include "localserver/Server.h"
#include "support/TemporaryDirectory.h"

namespace pell::localserver {

class ServerFixture : public ::testing::Test {
 protected:
  static inline const std::string hello = "cat >/dev/null; echo ' hello there. '";

  void start(const std::string& command, const Options& more = {}) {
    Options options = more;
    options.port = 0;
    options.data = directory_.path();
    options.recogniser = RecogniserCommand{command};
    server_.reset();
    server_ = std::make_unique<Server>(Server::Setup{.options = options,
                                                     .log = log_,
                                                     .now = [this] { return now_.load(); },
                                                     .passwordCost = PasswordCost::least()});
  }

  Answer call(const std::string& method, const std::string& path, const nlohmann::json& body,
              const std::string& token = "") {
    return send(server_->port(), {.method = method,
                                  .path = "/api/v1" + path,
                                  .token = token,
                                  .contentType = "application/json",
                                  .body = body.is_null() ? "" : body.dump()});
  }
  Answer post(const std::string& path, const nlohmann::json& body, const std::string& token = "") {
    return call("POST", path, body, token);
  }
  Answer get(const std::string& path, const std::string& token) { return call("GET", path, {}, token); }
  Answer me(const std::string& token) { return get("/me", token); }

  std::string signUp(const std::string& email = "ann@example.org") {
    return post("/auth/register", {{"email", email}, {"password", "correct horse"}}).json()["accessToken"];
  }
  Answer signIn(const std::string& password, const std::string& email = "ann@example.org") {
    return post("/auth/login", {{"email", email}, {"password", password}});
  }

  Answer transcribe(const std::string& token, const std::string& sound,
                    const std::string& query = "?language=en", const std::string& type = "audio/mp4") {
    return send(server_->port(), {.method = "POST",
                                  .path = "/api/v1/transcribe" + query,
                                  .token = token,
                                  .contentType = type,
                                  .body = sound});
  }

  pell::testing::TemporaryDirectory directory_;
  std::FILE* logFile_ = std::tmpfile();
  ServerLog log_{logFile_};
  std::atomic<UnixSeconds> now_ = 1'735'603'200;  // 2024-12-31T00:00Z
  std::unique_ptr<Server> server_;
};

}  // namespace pell::localserver
