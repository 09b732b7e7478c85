#pragma once

#include <gtest/gtest.h>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "server/ApiClient.h"
#include "support/Await.h"
#include "support/MemoryHttpSession.h"
#include "support/MemoryLog.h"
#include "support/MemorySecureItemStore.h"
#include "support/MemoryUserDefaults.h"

namespace pell::testing {

inline const std::string keychainService = "com.example.test";
inline const std::string refreshPath = "/api/v1/auth/refresh";

inline std::string sessionJson(const std::string& access, double expiresIn = 3600) {
  return R"({"accessToken":")" + access + R"(","refreshToken":"refresh-)" + access + R"(","expiresIn":)" +
         std::to_string(expiresIn) +
         R"(,"user":{"id":"u1","email":"me@example.com","plan":"free","isAdmin":false}})";
}

inline const std::string accountJson =
    R"({"id":"u1","email":"me@example.com","isAdmin":false,"cleanupEnabled":true,
        "plan":{"id":"free","displayName":"Free","minutesPerMonth":30},"createdAt":"2024-01-01T00:00:00Z"})";

inline std::string errorJson(const std::string& code, int status, const std::string& message = "Sorry.") {
  return R"({"error":")" + message + R"(","code":")" + code + R"(","status":)" + std::to_string(status) +
         R"(,"request_id":"r1"})";
}

/// A client, its server and its keychain.
struct ApiWorld {
  VirtualTime time;
  MemoryHttpSession http{time};
  MemorySecureItemStore items{time};
  MemoryUserDefaults defaults;
  MemoryLog sink;
  Log log{sink};
  AppConfig config{BuildInfo{.apiBaseUrl = "https://api.example.com/base/",
                             .allowsApiOverride = true,
                             .developmentBuild = false,
                             .shortVersion = {},
                             .bundleIdentifier = {}},
                   {},
                   defaults};
  Keychain keychain{items, time.main(), keychainService, log};
  std::unique_ptr<ApiClient> api;
  TaskScope callers{time.main()};
  std::vector<Keychain::ReadOutcome> losses;

  ApiWorld() {
    api = std::make_unique<ApiClient>(ApiClient::Services{.http = http,
                                                          .keychain = keychain,
                                                          .config = config,
                                                          .clock = time,
                                                          .executor = time.serialExecutors()("api")});
    api->setSessionLostHandler([this](Keychain::ReadOutcome outcome) { losses.push_back(outcome); });
  }

  void storeRefreshToken(const std::string& token) {
    items.put(keychainService, std::string(Keychain::refreshTokenAccount), token);
  }
  std::optional<std::string> refreshToken() const {
    return items.item(keychainService, std::string(Keychain::refreshTokenAccount));
  }

  void signIn(double expiresIn = 3600) {
    http.reply(200, sessionJson("first", expiresIn));
    await(time, api->signIn("me@example.com", "secret"));
    http.requests.clear();
  }

  Task<TranscriptionResult> transcribe(std::optional<std::string> style = std::nullopt) {
    return api->transcribe({.audio = std::string("\0\x01\xFF", 3),
                            .contentType = "audio/mp4",
                            .language = "multi",
                            .style = style});
  }

  /// What a call that has ended threw.
  template <class T>
  static std::optional<ApiFailure> failureIn(const Pending<T>& call) {
    try {
      call.get();
    } catch (const ApiFailure& failure) {
      return failure;
    }
    return std::nullopt;
  }

  /// What a call throws; fails the test if it throws nothing.
  template <class T>
  std::optional<ApiFailure> failureOf(Task<T> task) {
    try {
      await(time, std::move(task));
    } catch (const ApiFailure& failure) {
      return failure;
    }
    ADD_FAILURE() << "the call succeeded";
    return std::nullopt;
  }

  std::vector<std::string> urls() const {
    std::vector<std::string> urls;
    for (const auto& request : http.requests) urls.push_back(request.method + " " + request.url);
    return urls;
  }
  std::string header(std::size_t request, const std::string& name) const {
    for (const auto& [key, value] : http.requests.at(request).headers) {
      if (key == name) return value;
    }
    return "none";
  }
};

}  // namespace pell::testing
