#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "pipeline/DictationController.h"
#include "pipeline/DictationRoad.h"

namespace pell::testing {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

const std::string refusal(SecureInput::refusal);
const std::string saved = " It is saved in your dictation history.";

void showPasswordField(DictationRoad& road) {
  road.field.attributes.insert_or_assign("AXRole", std::string("AXSecureTextField"));
}

MemoryHttpSession::Reply reply(int status, std::string body) {
  return {.outcome = HttpResponse{.status = status, .headers = {}, .body = std::move(body)}};
}

TEST(DictationControllerTest, HoldSpeakReleaseAndTheWordsAppear) {
  DictationRoad road;
  road.controller->begin();
  EXPECT_EQ(road.phase(), "recording") << "at once, before the microphone was asked";
  EXPECT_EQ(road.platform.audio.liveStreams(), 0u);
  road.platform.time.advance(Seconds(1.02));
  EXPECT_GT(road.controller->level(), 0);
  EXPECT_EQ(road.controller->elapsedSeconds(), 1);
  road.controller->finish();
  EXPECT_EQ(road.platform.audio.liveStreams(), 0u);
  EXPECT_EQ(road.controller->level(), 0);
  road.platform.time.advance(Seconds(0.51));

  EXPECT_EQ(road.field.text, "Hello there");
  ASSERT_EQ(road.uploads.size(), 1u);
  EXPECT_EQ(road.uploads.front().body, road.platform.audio.payload);
  auto record = road.lastRecord();
  ASSERT_TRUE(record);
  EXPECT_EQ(record->text, "Hello there");
  EXPECT_EQ(record->words, 2);
  EXPECT_EQ(record->characters, 11);
  EXPECT_EQ(record->duration, 1.25);
  EXPECT_EQ(record->targetBundleID, "org.example.Editor");
  EXPECT_EQ(record->targetApp, "Editor");
  EXPECT_EQ(record->rawText, std::nullopt) << "only kept when a cleanup changed it";
  EXPECT_EQ(record->delivery, DictationRecord::Delivery::inserted);

  road.platform.time.advance(Seconds(1.58));
  EXPECT_EQ(road.phase(), "finished: 2 words");
  road.platform.time.advance(Seconds(0.03));
  EXPECT_THAT(road.phases, ElementsAre("recording", "transcribing", "finished: 2 words", "idle"));
  EXPECT_THAT(road.platform.sounds.played, ElementsAre("Tink", "Pop"));
  EXPECT_EQ(road.platform.activity.begun, 1);
  EXPECT_THAT(road.platform.activity.reasons, ElementsAre("Dictation in progress"));
  EXPECT_EQ(road.usageChanges, 1);
}

TEST(DictationControllerTest, TheHistoryHasTheTextBeforeAnythingIsDelivered) {
  DictationRoad road;
  road.spoken.promptTitle = "Message";
  std::vector<std::string> seen;
  road.controller->onHistoryChanged = [&] {
    seen.push_back(road.lastRecord()->text + ", " + road.lastDelivery() +
                   ", in the field: " + road.field.text);
  };
  road.dictate();
  EXPECT_THAT(seen, ElementsAre("Hello there, none, in the field: ",
                                "Hello there, inserted, in the field: Hello there"));
  EXPECT_EQ(road.lastRecord()->rawText, "um hello there");
  EXPECT_EQ(road.lastRecord()->promptVersionTitle, "Message");
}

TEST(DictationControllerTest, EveryDeliveryIsToldMarkedAndMetered) {
  struct Case {
    const char* name;
    std::function<void(DictationRoad&)> arrange;  // while the upload is in flight
    std::string message;
    const char* delivery;
    const char* warning = "";
  };
  const Case cases[] = {
      {"typed", [](auto&) {}, "finished: 2 words", "inserted"},
      {"one word", [](auto& road) { road.spoken.words = 1; }, "finished: 1 word", "inserted"},
      {"no word", [](auto& road) { road.spoken.words = 0; }, "finished: 0 words", "inserted"},
      {"pasted", [](auto& road) { road.settings.injectionMode = InjectionMode::paste; }, "finished: 2 words",
       "pasted"},
      {"copied", [](auto& road) { road.settings.injectionMode = InjectionMode::copyOnly; },
       "finished: Copied. Press ⌘V", "copied"},
      {"the focus moved to a password field", showPasswordField, "failed: " + refusal + saved, "failed",
       "delivery_refused_secure_field"},
      {"copying near a password field is refused too",
       [](auto& road) {
         road.settings.injectionMode = InjectionMode::copyOnly;
         showPasswordField(road);
       },
       "failed: " + refusal + saved, "failed", "delivery_refused_secure_field"},
      {"the grant is gone", [](auto& road) { road.platform.desktop.trusted = false; },
       "failed: Pell needs Accessibility access to type for you. The text is on your clipboard. Press ⌘V." +
           saved,
       "failed"},
      {"no way to paste",
       [](auto& road) {
         road.settings.injectionMode = InjectionMode::paste;
         road.platform.input.sourceAvailable = false;
       },
       "failed: Pell could not paste into that app. The text is on your clipboard. Press ⌘V." + saved,
       "failed"},
      {"nothing was heard", [](auto& road) { road.spoken.transcript.clear(); },
       "failed: There was nothing to insert." + saved, "failed"},
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(row.name);
    DictationRoad road;
    road.controller->begin();
    road.platform.time.advance(Seconds(1));
    row.arrange(road);
    road.controller->finish();
    road.platform.time.advance(Seconds(0.51));
    EXPECT_EQ(road.phase(), row.message);
    EXPECT_EQ(road.lastDelivery(), row.delivery);
    EXPECT_EQ(road.usageChanges, 1);
    EXPECT_EQ(road.platform.log.count(row.warning), *row.warning ? 1u : 0u);
    EXPECT_THAT(road.phases, ElementsAre("recording", "transcribing", row.message));
  }
}

TEST(DictationControllerTest, APasswordFieldRefusesAtTheBeginning) {
  DictationRoad road;
  showPasswordField(road);
  road.controller->begin();
  EXPECT_EQ(road.phase(), "failed: " + refusal);
  road.platform.time.runReady();
  EXPECT_EQ(road.platform.audio.accessRequests + static_cast<int>(road.platform.audio.files.size()), 0);
  EXPECT_THAT(road.platform.sounds.played, IsEmpty());
  EXPECT_EQ(road.platform.log.lines("dictation_refused_secure_field").at(0).at("reason"), "role");

  road.platform.secureEntry.enabled = true;
  road.platform.time.advance(Seconds(4));
  road.controller->begin();
  EXPECT_EQ(road.platform.log.lines("dictation_refused_secure_field").at(1).at("reason"), "secureInput");
  road.platform.time.advance(Seconds(4.9));
  EXPECT_EQ(road.phase(), "failed: " + refusal) << "a second failure shows for its whole time";
  road.platform.time.advance(Seconds(0.2));
  EXPECT_EQ(road.phase(), "idle");
}

TEST(DictationControllerTest, AFailedUploadIsToldAndLeavesNothing) {
  struct Case {
    const char* name;
    std::function<void(DictationRoad&)> arrange;
    const char* message;
    int quotaCalls = 0;
  };
  const Case cases[] = {
      {"unreachable",
       [](auto& road) { road.uploadReply = MemoryHttpSession::Reply{.outcome = HttpFailure{"refused"}}; },
       "Pell can't reach the server. Check your connection and try again."},
      {"quota",
       [](auto& road) {
         road.uploadReply = reply(402, R"({"error": "Your minutes are used up.", "code": "QUOTA_EXCEEDED",
                                           "status": 402, "request_id": "1"})");
       },
       "Your minutes are used up.", 1},
      {"another error of the server",
       [](auto& road) {
         road.uploadReply = reply(400, R"({"error": "That audio is empty.", "code": "BAD_AUDIO",
                                           "status": 400, "request_id": "1"})");
       },
       "That audio is empty."},
      {"a page instead of JSON", [](auto& road) { road.uploadReply = reply(500, "<html>"); },
       "Request failed (500)."},
      {"half a reply", [](auto& road) { road.uploadReply = reply(200, R"({"transcript": "Hel)"); },
       "The server sent something Pell could not read."},
      {"signed out", [](auto& road) { road.keychain.remove(std::string(Keychain::refreshTokenAccount)); },
       "Your session expired. Sign in again."},
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(row.name);
    DictationRoad road;
    row.arrange(road);
    std::vector<std::string> quota;
    road.controller->onQuotaExceeded = [&](const std::string& message) {
      quota.push_back(message);
      EXPECT_EQ(road.phase(), "transcribing") << "told before the message shows";
    };
    road.dictate();
    EXPECT_EQ(road.phase(), std::string("failed: ") + row.message);
    EXPECT_EQ(quota, std::vector<std::string>(static_cast<std::size_t>(row.quotaCalls), row.message));
    ASSERT_EQ(road.platform.log.count("dictation_failed"), 1u);
    EXPECT_EQ(road.platform.log.lines("dictation_failed").front().at("reason"), row.message);
    EXPECT_EQ(road.platform.log.lines("dictation_failed").front().at("level"), "WARN");
    EXPECT_EQ(road.lastDelivery(), "(no record)");
    EXPECT_EQ(road.usageChanges, 0);
    EXPECT_EQ(road.field.text, "");
    road.platform.time.advance(Seconds(5));
    EXPECT_EQ(road.phase(), "idle");
  }
}

TEST(DictationControllerTest, WhatDoesNotFitThePhaseDoesNothing) {
  struct Case {
    const char* name;
    std::function<void(DictationRoad&)> reach;
    std::function<void(DictationController&)> attempt;
  };
  auto idle = [](DictationRoad&) {};
  auto recording = [](DictationRoad& road) {
    road.controller->begin();
    road.platform.time.advance(Seconds(0.5));
  };
  auto transcribing = [](DictationRoad& road) {
    road.speak();
    road.platform.time.advance(Seconds(0.2));
  };
  auto message = [](DictationRoad& road) { road.dictate(); };
  auto begin = [](DictationController& controller) { controller.begin(); };
  auto finish = [](DictationController& controller) { controller.finish(); };
  auto cancel = [](DictationController& controller) { controller.cancel(); };
  auto toggle = [](DictationController& controller) { controller.toggle(); };
  const Case cases[] = {
      {"begin while recording", recording, begin},
      {"begin while transcribing", transcribing, begin},
      {"finish while idle", idle, finish},
      {"finish while transcribing", transcribing, finish},
      {"finish under a message", message, finish},
      {"cancel while idle", idle, cancel},
      {"cancel while transcribing", transcribing, cancel},
      {"cancel under a message", message, cancel},
      {"toggle while transcribing", transcribing, toggle},
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(row.name);
    DictationRoad untouched, road;
    row.reach(untouched);
    row.reach(road);
    row.attempt(*road.controller);
    EXPECT_EQ(road.phase(), untouched.phase());
    for (auto* each : {&untouched, &road}) each->platform.time.advance(Seconds(0.4));
    EXPECT_EQ(road.phases, untouched.phases);
    EXPECT_EQ(road.platform.sounds.played, untouched.platform.sounds.played);
    EXPECT_EQ(road.platform.log.events(), untouched.platform.log.events());
    EXPECT_EQ(road.field.text, untouched.field.text) << "an upload in flight still ends in text";
    EXPECT_EQ(road.platform.audio.liveStreams(), untouched.platform.audio.liveStreams());
  }
}

TEST(DictationControllerTest, ToggleStartsAndEnds) {
  DictationRoad road;
  road.controller->toggle();
  road.platform.time.advance(Seconds(1));
  road.controller->toggle();
  road.platform.time.advance(Seconds(0.6));
  road.controller->toggle();
  EXPECT_THAT(road.phases, ElementsAre("recording", "transcribing", "finished: 2 words", "recording"));
}

TEST(DictationControllerTest, CancellingThrowsTheRecordingAwayInSilence) {
  DictationRoad road;
  road.controller->begin();
  road.platform.time.advance(Seconds(1));
  road.controller->cancel();
  EXPECT_THAT(road.phases, ElementsAre("recording", "idle"));
  EXPECT_THAT(road.platform.sounds.played, ElementsAre("Tink"));
  EXPECT_TRUE(std::filesystem::is_empty(road.platform.scratch()));
  EXPECT_EQ(road.platform.audio.liveStreams(), 0u);
  road.platform.time.advance(Seconds(10));
  EXPECT_THAT(road.uploads, IsEmpty());
  EXPECT_EQ(road.lastDelivery(), "(no record)");
}

TEST(DictationControllerTest, AnEmptyRecordingEndsInSilence) {
  DictationRoad road;
  road.platform.audio.payload.clear();
  road.dictate();
  EXPECT_THAT(road.phases, ElementsAre("recording", "idle"));
  EXPECT_THAT(road.platform.sounds.played, ElementsAre("Tink"));
  EXPECT_THAT(road.uploads, IsEmpty());
}

TEST(DictationControllerTest, SoundsCanBeSwitchedOff) {
  DictationRoad road;
  road.settings.playSounds = false;
  road.dictate();
  EXPECT_EQ(road.phase(), "finished: 2 words");
  EXPECT_THAT(road.platform.sounds.played, IsEmpty());
}

TEST(DictationControllerTest, AnOldTimerNeverClearsANewerPhase) {
  auto fail = [](DictationRoad& road) {
    road.uploadReply = reply(500, "");
    road.dictate();
    road.uploadReply.reset();
  };
  struct Case {
    const char* name;
    std::function<void(DictationRoad&)> act;
    double then;  // seconds
    std::string phase;
  };
  const Case cases[] = {
      {"a dictation under a success",
       [](auto& road) {
         road.dictate();
         road.controller->begin();
       },
       30, "recording"},
      {"a dictation under a failure",
       [&](auto& road) {
         fail(road);
         road.controller->begin();
       },
       30, "recording"},
      {"a success right after a success",
       [](auto& road) {
         road.uploadTime = Seconds(0.1);
         road.dictate();
         road.controller->begin();
         road.platform.time.advance(Seconds(0.1));
         road.controller->finish();
         road.platform.time.advance(Seconds(0.11));
       },
       1.5, "finished: 2 words"},
      {"a failure under a success",
       [](auto& road) {
         road.dictate();
         showPasswordField(road);
         road.platform.time.advance(Seconds(1));
         road.controller->begin();
       },
       4.9, "failed: " + refusal},
      {"a message that was dismissed",
       [&](auto& road) {
         fail(road);
         road.controller->clearMessage();
       },
       0, "idle"},
      {"a message after a dismissed one",
       [&](auto& road) {
         fail(road);
         road.platform.time.advance(Seconds(3));
         road.controller->clearMessage();
         showPasswordField(road);
         road.controller->begin();
       },
       4.9, "failed: " + refusal},
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(row.name);
    DictationRoad road;
    row.act(road);
    road.platform.time.advance(Seconds(row.then));
    EXPECT_EQ(road.phase(), row.phase);
  }
}

TEST(DictationControllerTest, TheWordingChangesWhenAnUploadTakesLong) {
  DictationRoad road;
  road.uploadTime = Seconds(4);
  int told = 0;
  road.speak();
  auto listening = road.controller->observe([&] { ++told; });
  road.platform.time.advance(Seconds(1.49));
  EXPECT_FALSE(road.controller->isPolishing());
  road.platform.time.advance(Seconds(0.02));
  EXPECT_TRUE(road.controller->isPolishing());
  EXPECT_EQ(told, 1);
  road.platform.time.advance(Seconds(2.6));
  EXPECT_EQ(road.phase(), "finished: 2 words");
  EXPECT_FALSE(road.controller->isPolishing());

  road.uploadTime = Seconds(1);
  road.dictate();
  road.controller->begin();
  road.platform.time.advance(Seconds(3));
  EXPECT_FALSE(road.controller->isPolishing()) << "the timer of an upload ends with it";
}

TEST(DictationControllerTest, TheEndMayComeWhileThePermissionIsAsked) {
  DictationRoad road;
  road.platform.audio.status = MicrophoneAuthorization::notDetermined;
  road.controller->begin();
  road.platform.time.runReady();
  ASSERT_TRUE(road.platform.audio.isAsking());
  road.controller->finish();
  EXPECT_EQ(road.phase(), "idle");

  road.platform.audio.answerAccess(true);
  road.platform.time.advance(Seconds(3));
  EXPECT_EQ(road.phase(), "idle") << "the recorder runs unobserved";
  road.dictate();
  EXPECT_EQ(road.phase(), "finished: 2 words");
  EXPECT_EQ(road.platform.audio.files.size(), 1u);
  EXPECT_EQ(road.platform.audio.liveStreams(), 0u);
}

TEST(DictationControllerTest, TroubleWithTheMicrophoneIsTold) {
  struct Case {
    const char* name;
    std::function<void(DictationRoad&)> arrange;
    std::function<void(DictationRoad&)> during;
    std::string message;
  };
  auto nothing = [](DictationRoad&) {};
  const Case cases[] = {
      {"denied", [](auto& road) { road.platform.audio.status = MicrophoneAuthorization::denied; }, nothing,
       "Pell needs microphone access. Open System Settings › Privacy & Security › Microphone and switch Pell "
       "on."},
      {"no device", [](auto& road) { road.platform.audio.hasDevice = false; }, nothing,
       "Pell could not start the microphone: There is no microphone."},
      {"refused at the prompt",
       [](auto& road) { road.platform.audio.status = MicrophoneAuthorization::notDetermined; },
       [](auto& road) { road.platform.audio.answerAccess(false); },
       "Pell needs microphone access. Open System Settings › Privacy & Security › Microphone and switch Pell "
       "on."},
      {"unplugged while recording", nothing, [](auto& road) { road.platform.audio.die("unplugged"); },
       "Pell lost the microphone. Check it and try again."},
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(row.name);
    DictationRoad road;
    row.arrange(road);
    road.controller->begin();
    road.platform.time.advance(Seconds(0.5));
    row.during(road);
    road.platform.time.runReady();
    EXPECT_EQ(road.phase(), "failed: " + row.message);
    road.controller->finish();
    EXPECT_EQ(road.phase(), "failed: " + row.message) << "the key going up changes nothing";
    EXPECT_TRUE(std::filesystem::is_empty(road.platform.scratch()));
    EXPECT_EQ(road.platform.audio.liveStreams(), 0u);
    road.platform.time.advance(Seconds(5));
    EXPECT_EQ(road.phase(), "idle");
    EXPECT_TRUE(std::holds_alternative<Recorder::Idle>(road.recorder.state())) << "its failure is cleared";
  }
}

TEST(DictationControllerTest, TheStyleFollowsTheTarget) {
  StyleResolver::Rules rules;
  rules.contextAware = true;
  rules.useBrowserHost = true;
  rules.appRules = {{"org.example.Editor", "note"}};
  rules.hostRules = {{"mail.example.com", "mail"}};
  rules.knownStyleIDs = {"note", "mail", "once"};
  auto with = [&](auto change) {
    auto copy = rules;
    change(copy);
    return copy;
  };
  struct Case {
    const char* name;
    StyleResolver::Rules rules;
    std::optional<std::string> host;
    bool inPell = false;
    std::string style;  // as logged
    std::string source;
    int hostQuestions = 1;
    int overridesUsed = 0;
  };
  const Case cases[] = {
      {"by application", rules, std::nullopt, false, "note", "app"},
      {"by site", rules, "mail.example.com", false, "mail", "browserHost"},
      {"sites switched off", with([](auto& r) { r.useBrowserHost = false; }), "mail.example.com", false,
       "note", "app", 0},
      {"context switched off", with([](auto& r) { r.contextAware = false; }), "mail.example.com", false,
       "server_default", "serverDefault", 0},
      {"just this once", with([](auto& r) { r.oneShotOverride = "once"; }), std::nullopt, false, "once",
       "override", 1, 1},
      {"in Pell", rules, std::nullopt, true, "server_default", "serverDefault"},
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(row.name);
    DictationRoad road;
    if (row.inPell) road.platform.desktop.activateSelf();
    road.browserHost = row.host;
    int overridesUsed = 0;
    road.controller->styleRules = [&] { return row.rules; };
    road.controller->styleForID = [](const std::string& id) {
      return DictationStyle{.id = id, .title = "T"};
    };
    road.controller->onOverrideConsumed = [&] { ++overridesUsed; };
    road.controller->begin();
    ASSERT_EQ(road.platform.log.count("style_resolved"), 1u);
    auto line = road.platform.log.lines("style_resolved").front();
    EXPECT_EQ(line.at("style"), row.style);
    EXPECT_EQ(line.at("source"), row.source);
    EXPECT_EQ(line.at("app"), row.inPell ? "pell" : "org.example.Editor");
    EXPECT_EQ(line.at("host_matched"), row.hostQuestions > 0 && row.host.has_value());
    EXPECT_EQ(road.hostQuestions, row.hostQuestions);
    EXPECT_EQ(overridesUsed, row.overridesUsed);
    bool chosen = row.style != "server_default";
    EXPECT_EQ(road.controller->activeStyle().has_value(), chosen);

    road.platform.time.advance(Seconds(1));
    road.controller->finish();
    road.platform.time.advance(Seconds(0.6));
    ASSERT_EQ(road.uploads.size(), 1u);
    EXPECT_THAT(road.uploads.front().url,
                ::testing::EndsWith("?language=multi" + (chosen ? "&style=" + row.style : "")));

    road.controller->styleRules = nullptr;
    road.controller->begin();
    EXPECT_EQ(road.controller->activeStyleID(), std::nullopt) << "nothing stays from the dictation before";
    EXPECT_EQ(road.controller->activeStyle(), std::nullopt);
    EXPECT_EQ(road.controller->activeStyleSource(), StyleResolver::Source::serverDefault);
    EXPECT_EQ(road.platform.log.count("style_resolved"), 1u);
  }
}

TEST(DictationControllerTest, TheTextGoesToWhereTheUserIsAtTheEnd) {
  struct Case {
    const char* name;
    bool beginsInPell, endsInPell;
    bool noteTakesIt;
    int noteOffers;
    const char* message;
    const char* delivery;
    const char* target;  // as the history keeps it
    const char* route;
  };
  const Case cases[] = {
      {"another application comes to the front", false, false, true, 0, "finished: 2 words", "inserted",
       "org.example.Other", "injector"},
      {"into the open note", true, true, true, 1, "finished: Added to your note", "note", "(none)", "editor"},
      {"no note open", true, true, false, 1, "finished: 2 words", "inserted", "(none)", "injector"},
      {"Pell comes to the front", false, true, true, 0, "finished: 2 words", "inserted", "com.pell.dictation",
       "injector"},
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(row.name);
    DictationRoad road;
    auto& desktop = road.platform.desktop;
    auto& other = desktop.launchEditor("org.example.Other", "Other");
    desktop.activate(road.editor);
    if (row.beginsInPell) desktop.activateSelf();
    int noteOffers = 0;
    road.controller->insertIntoEditor = [&](const TranscriptionResult& result) {
      ++noteOffers;
      EXPECT_EQ(road.lastRecord()->text, result.transcript) << "in the history before it is in the note";
      return row.noteTakesIt;
    };
    road.speak();
    if (row.endsInPell) {
      desktop.activateSelf();
      desktop.frontmost()->focus = desktop.makeTextElement();
    } else {
      desktop.activate(other);
    }
    road.platform.time.advance(Seconds(0.6));
    EXPECT_EQ(noteOffers, row.noteOffers);
    EXPECT_EQ(road.phase(), row.message);
    EXPECT_EQ(road.lastDelivery(), row.delivery);
    EXPECT_EQ(road.lastRecord()->targetBundleID.value_or("(none)"), row.target);
    EXPECT_EQ(road.field.text, "");
    auto line = road.platform.log.lines("delivered").back();
    EXPECT_EQ(line.at("route"), row.route);
    EXPECT_EQ(line.at("words"), 2);
    if (line.at("route") == "injector") {
      EXPECT_EQ(line.at("target_was_pell"), row.beginsInPell);
      EXPECT_EQ(line.at("mode"), "automatic");
      EXPECT_EQ(line.at("accessibility"), true);
      EXPECT_EQ(line.at("outcome"), "inserted");
    }
  }
}

TEST(DictationControllerTest, ADictationBegunInPellStillNeverReachesAPasswordField) {
  DictationRoad road;
  road.platform.desktop.activateSelf();
  road.speak();
  road.platform.desktop.activate(road.editor);
  showPasswordField(road);
  road.platform.time.advance(Seconds(0.6));
  EXPECT_EQ(road.phase(), "failed: " + refusal + saved);
  EXPECT_EQ(road.lastDelivery(), "failed");
  EXPECT_EQ(road.platform.log.count("injection_refused_secure_field"), 1u);
  EXPECT_EQ(road.platform.log.count("delivery_refused_secure_field"), 0u);
  EXPECT_EQ(road.field.text, "");
}

TEST(DictationControllerTest, TroubleWithTheHistoryDoesNotKeepTheTextFromTheUser) {
  struct Case {
    const char* name;
    std::function<void(DictationRoad&)> arrange;
    const char* event;
    const char* level;
    int historyChanges;
  };
  const Case cases[] = {
      {"no store open", [](auto& road) { road.controller->dictationHistory = nullptr; }, nullptr, nullptr, 0},
      {"cannot be written", [](auto& road) { road.database.execute("DROP TABLE dictations"); },
       "history_write_failed", "ERROR", 0},
      {"cannot be marked",
       [](auto& road) {
         road.database.execute(
             "CREATE TRIGGER stop BEFORE UPDATE ON dictations "
             "BEGIN SELECT RAISE(ABORT, 'full'); END");
       },
       "history_delivery_update_failed", "WARN", 1},
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(row.name);
    DictationRoad road;
    row.arrange(road);
    int historyChanges = 0;
    road.controller->onHistoryChanged = [&] { ++historyChanges; };
    road.dictate();
    EXPECT_EQ(road.phase(), "finished: 2 words");
    EXPECT_EQ(road.field.text, "Hello there");
    EXPECT_EQ(road.usageChanges, 1);
    EXPECT_EQ(historyChanges, row.historyChanges);
    if (row.event) {
      ASSERT_EQ(road.platform.log.count(row.event), 1u);
      EXPECT_EQ(road.platform.log.lines(row.event).front().at("level"), row.level);
    }
  }
}

TEST(DictationControllerTest, ATargetThatTellsNoNameIsKeptAsUnknown) {
  DictationRoad road;
  road.editor.info.localizedName.clear();
  road.dictate();
  EXPECT_EQ(road.lastRecord()->targetApp, std::nullopt);
  const auto stats = road.history.stats();
  ASSERT_EQ(stats.byApp.size(), 1u);
  EXPECT_EQ(stats.byApp.front().app, "Unknown") << "and no row without a name";
}

TEST(DictationControllerTest, NewMilestonesAreToldAndOnlyThose) {
  for (const auto& unlocked :
       {std::optional<std::vector<std::string>>(), std::optional(std::vector<std::string>{}),
        std::optional(std::vector<std::string>{"words.100", "seconds.3600"})}) {
    DictationRoad road;
    road.spoken.unlocked = unlocked;
    std::vector<std::vector<std::string>> told;
    road.controller->onMilestonesUnlocked = [&](const auto& ids) { told.push_back(ids); };
    road.dictate();
    if (unlocked && !unlocked->empty()) {
      EXPECT_THAT(told, ElementsAre(*unlocked));
    } else {
      EXPECT_THAT(told, IsEmpty());
    }
  }
}

TEST(DictationControllerTest, WithNoClosureSetADictationStillRuns) {
  DictationRoad road;
  road.controller->onPhaseChanged = nullptr;
  road.controller->onUsageChanged = nullptr;
  road.controller->dictationHistory = nullptr;
  road.dictate();
  EXPECT_EQ(road.field.text, "Hello there");
  road.platform.time.advance(Seconds(2));
  EXPECT_EQ(road.phase(), "idle");
}

TEST(DictationControllerTest, ObserversHearOfChangesOnly) {
  DictationRoad road;
  road.platform.audio.power = -160;
  road.controller->begin();
  road.platform.time.advance(Seconds(0.01));
  int told = 0;
  auto listening = road.controller->observe([&] { ++told; });
  road.platform.time.advance(Seconds(0.9));
  EXPECT_EQ(told, 0) << "silence changes nothing, however often the microphone is read";
  road.platform.audio.power = 0;
  road.platform.time.advance(Seconds(0.05));
  EXPECT_EQ(told, 1);
}

/// Which way the dictation goes whose controller is destroyed.
enum class Ending { delivered, uploadFails, microphoneDies, promptOpen };

TEST(DictationControllerTest, ItMayBeDestroyedAtAnyPoint) {
  for (auto ending : {Ending::delivered, Ending::uploadFails, Ending::microphoneDies, Ending::promptOpen}) {
    bool cameToItsEnd = false;
    for (int limit = 0; !cameToItsEnd; ++limit) {
      SCOPED_TRACE(limit);
      ASSERT_LT(limit, 500);
      DictationRoad road;
      road.uploadTime = Seconds(2);
      if (ending == Ending::uploadFails) road.uploadReply = reply(500, "");
      if (ending == Ending::promptOpen) road.platform.audio.status = MicrophoneAuthorization::notDetermined;
      road.controller->begin();
      for (int step = 0; step < limit && !cameToItsEnd; ++step) {
        if (step == 5 && road.platform.audio.isAsking()) road.platform.audio.answerAccess(true);
        if (step == 6 && ending == Ending::microphoneDies) road.platform.audio.die("unplugged");
        if (step == 12) road.controller->finish();
        road.platform.time.step();
        cameToItsEnd = step > 12 && road.phase() == "idle";
      }
      road.controller.reset();
      EXPECT_EQ(road.platform.activity.held(), 0);
      road.platform.time.advance(Seconds(10));
      road.recorder.stop();
      EXPECT_EQ(road.platform.audio.liveStreams(), 0u);
      EXPECT_TRUE(std::filesystem::is_empty(road.platform.scratch()));
    }
  }
}

}  // namespace
}  // namespace pell::testing
