// One whole dictation pipeline on an in-memory desktop, for tests.
#pragma once

#include <algorithm>
#include <gtest/gtest.h>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

#include "pipeline/DictationController.h"
#include "pipeline/Recorder.h"
#include "pipeline/SecureInput.h"
#include "pipeline/TextInjector.h"
#include "server/ApiClient.h"
#include "stores/AppConfig.h"
#include "stores/AppSettings.h"
#include "stores/Database.h"
#include "stores/DictationsRepository.h"
#include "stores/Keychain.h"
#include "stores/Log.h"
#include "support/MemoryPlatform.h"

namespace pell::testing {

/// An editor in front, a signed-in user with an open history, a server that answers with `spoken`.
class DictationRoad {
 public:
  struct Spoken {
    std::string transcript = "Hello there";
    std::string rawTranscript = "um hello there";
    std::optional<std::string> promptTitle;
    int words = 2;
    std::optional<std::vector<std::string>> unlocked;
  };

  DictationRoad() {
    platform.secureItems.put(config.keychainService(), std::string(Keychain::refreshTokenAccount), "refresh");
    platform.http.responder = [this](const HttpRequest& request) { return answer(request); };
    controller->dictationHistory = &history;
    controller->onPhaseChanged = [this] {
      phases.push_back(describePhase());
      EXPECT_EQ(platform.activity.held(), phases.back() == "idle" ? 0 : 1) << phases.back();
    };
    controller->onUsageChanged = [this] { ++usageChanges; };
  }

  ~DictationRoad() {
    EXPECT_EQ(platform.log.text().find("ello there"), std::string::npos) << "dictated words in the log";
    for (const auto& shown : phases) EXPECT_TRUE(isWordedByThePlatform(shown)) << shown;
  }

  MemoryPlatform platform;
  Log log{platform.log};
  AppConfig config{platform.build, platform.platform().locations, platform.defaults};
  AppSettings settings{platform.defaults, platform.loginItem, log};
  Database database{platform.support() / "pell.db"};
  DictationsRepository history{database, platform.time};
  Keychain keychain{platform.secureItems, platform.time.main(), config.keychainService(), log};
  ApiClient api{{.http = platform.http,
                 .keychain = keychain,
                 .config = config,
                 .clock = platform.time,
                 .executor = platform.time.serialExecutors()("api")}};
  SecureInput secureInput{platform.secureEntry, platform.accessibility};
  Recorder recorder{{.audio = platform.audio,
                     .main = platform.time.main(),
                     .clock = platform.time,
                     .scratch = platform.scratch(),
                     .words = words(),
                     .log = log}};
  TextInjector injector{{.workspace = platform.workspace,
                         .accessibility = platform.accessibility,
                         .pasteboard = platform.pasteboard,
                         .input = platform.input,
                         .main = platform.time.main(),
                         .secureInput = secureInput,
                         .config = config,
                         .words = words(),
                         .log = log}};
  MemoryApplication& editor = platform.desktop.launchEditor();
  MemoryElement& field = *editor.focus;

  // Scripted.
  Spoken spoken;
  std::optional<std::string> browserHost;
  std::optional<MemoryHttpSession::Reply> uploadReply;  // instead of `spoken`
  Seconds uploadTime{0.5};

  // Recorded.
  std::vector<std::string> phases;  // at each `onPhaseChanged`
  int usageChanges = 0;
  std::vector<HttpRequest> uploads;
  int hostQuestions = 0;

  std::unique_ptr<DictationController> controller = std::make_unique<DictationController>(
      DictationController::Dependencies{.recorder = recorder,
                                        .api = api,
                                        .settings = settings,
                                        .injector = injector,
                                        .secureInput = secureInput,
                                        .accessibility = platform.accessibility,
                                        .workspace = platform.workspace,
                                        .sounds = platform.sounds,
                                        .activity = platform.activity,
                                        .main = platform.time.main(),
                                        .words = words(),
                                        .log = log,
                                        .browserHost = [this](const std::optional<RunningApplication>&) {
                                          ++hostQuestions;
                                          return browserHost;
                                        }});

  /// Begins, speaks for a second and ends; the upload is in flight afterwards.
  void speak() {
    controller->begin();
    platform.time.advance(Seconds(1));
    controller->finish();
  }

  /// A whole dictation, until its message is on show.
  void dictate() {
    speak();
    platform.time.advance(uploadTime + Seconds(0.01));
  }

  std::string phase() const { return describePhase(); }

  std::optional<DictationRecord> lastRecord() {
    auto records = history.recent(1);
    if (records.empty()) return std::nullopt;
    return records.front();
  }
  std::string lastDelivery() {
    auto record = lastRecord();
    return record ? std::string(rawValue(record->delivery)) : "(no record)";
  }

 private:
  Words words() {
    return [this](std::string_view text) {
      worded_.emplace_back(text);
      return std::string(text);
    };
  }

  /// A message that names keys or places of one platform was asked of the platform, before anything was
  /// joined to it.
  bool isWordedByThePlatform(const std::string& shown) const {
    bool special = shown.find("⌘") != std::string::npos || shown.find("System Settings") != std::string::npos;
    return !special || std::any_of(worded_.begin(), worded_.end(),
                                   [&](const auto& text) { return shown.find(text) != std::string::npos; });
  }

  std::string describePhase() const {
    struct Describe {
      std::string operator()(const phase::Idle&) const { return "idle"; }
      std::string operator()(const phase::Recording&) const { return "recording"; }
      std::string operator()(const phase::Transcribing&) const { return "transcribing"; }
      std::string operator()(const phase::Finished& shown) const { return "finished: " + shown.message; }
      std::string operator()(const phase::Failed& shown) const { return "failed: " + shown.message; }
    };
    return std::visit(Describe{}, controller->phase());
  }

  std::optional<MemoryHttpSession::Reply> answer(const HttpRequest& request) {
    if (request.url.find("/auth/refresh") != std::string::npos) {
      return json({{"accessToken", "access"},
                   {"refreshToken", "refresh"},
                   {"expiresIn", 3600},
                   {"user", {{"id", "1"}, {"email", "a@b.c"}, {"plan", "free"}, {"isAdmin", false}}}});
    }
    uploads.push_back(request);
    if (uploadReply) return uploadReply;
    nlohmann::json body = {{"transcript", spoken.transcript},
                           {"paragraphs", {spoken.transcript}},
                           {"rawTranscript", spoken.rawTranscript},
                           {"durationSeconds", 1.25},
                           {"words", spoken.words},
                           {"characters", 11},
                           {"language", "en"},
                           {"quota",
                            {{"minutesPerMonth", 60},
                             {"usedSeconds", 1.0},
                             {"remainingSeconds", 3599.0},
                             {"allowanceSeconds", 3600.0}}}};
    if (spoken.promptTitle) body["cleanupPromptVersionTitle"] = *spoken.promptTitle;
    if (spoken.unlocked) body["unlocked"] = *spoken.unlocked;
    auto reply = json(body);
    reply.delay = uploadTime;
    return reply;
  }

  static MemoryHttpSession::Reply json(const nlohmann::json& body) {
    return {.outcome = HttpResponse{.status = 200, .headers = {}, .body = body.dump()}};
  }

  std::vector<std::string> worded_;  // every text that the platform's wording was asked for
};

}  // namespace pell::testing
