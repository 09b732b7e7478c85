#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "pipeline/DictationController.h"
#include "pipeline/DictationRoad.h"

namespace pell::testing {
namespace {

using ::testing::ElementsAre;
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
  road.editor.info.localizedName.clear();
  road.spoken.unlocked = {"words.100", "seconds.3600"};
  std::vector<std::vector<std::string>> milestones;
  road.controller->onMilestonesUnlocked = [&](const auto& ids) { milestones.push_back(ids); };
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
  EXPECT_EQ(record->duration, 1.25);
  EXPECT_EQ(record->targetBundleID, "org.example.Editor");
  EXPECT_EQ(record->targetApp, std::nullopt) << "a target that tells no name";
  EXPECT_THAT(milestones, ElementsAre(*road.spoken.unlocked));
  EXPECT_EQ(record->rawText, std::nullopt) << "only kept when a cleanup changed it";
  EXPECT_EQ(record->delivery, DictationRecord::Delivery::inserted);

  road.platform.time.advance(Seconds(1.58));
  EXPECT_EQ(road.phase(), "finished: 2 words");
  road.platform.time.advance(Seconds(0.03));
  EXPECT_THAT(road.phases, ElementsAre("recording", "transcribing", "finished: 2 words", "idle"));
  EXPECT_THAT(road.platform.sounds.played, ElementsAre("Tink", "Pop"));
  EXPECT_EQ(road.platform.activity.begun, 1);
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

TEST(DictationControllerTest, EveryEndingIsToldMarkedAndMetered) {
  struct Case {
    const char* name;
    std::function<void(DictationRoad&)> arrange;  // while the user speaks
    std::string message;
    const char* delivery = "(no record)";
    int usageChanges = 1;
  };
  const Case cases[] = {
      {"typed", [](auto&) {}, "finished: 2 words", "inserted"},
      {"one word", [](auto& road) { road.spoken.words = 1; }, "finished: 1 word", "inserted"},
      {"pasted", [](auto& road) { road.settings.injectionMode = InjectionMode::paste; }, "finished: 2 words",
       "pasted"},
      {"copied", [](auto& road) { road.settings.injectionMode = InjectionMode::copyOnly; },
       "finished: Copied. Press ⌘V", "copied"},
      {"the focus moved to a password field", showPasswordField, "failed: " + refusal + saved, "failed"},
      {"copying near a password field is refused too",
       [](auto& road) {
         road.settings.injectionMode = InjectionMode::copyOnly;
         showPasswordField(road);
       },
       "failed: " + refusal + saved, "failed"},
      {"the grant is gone", [](auto& road) { road.platform.desktop.trusted = false; },
       "failed: Pell needs Accessibility access to type for you. The text is on your clipboard. Press ⌘V." +
           saved,
       "failed"},
      {"unreachable",
       [](auto& road) { road.uploadReply = MemoryHttpSession::Reply{.outcome = HttpFailure{"refused"}}; },
       "failed: Pell can't reach the server. Check your connection and try again.", "(no record)", 0},
      {"quota",
       [](auto& road) {
         road.uploadReply = reply(402, R"({"error": "Your minutes are used up.", "code": "QUOTA_EXCEEDED",
                                           "status": 402, "request_id": "1"})");
       },
       "failed: Your minutes are used up.", "(no record)", 0},
      {"a history that cannot be written",
       [](auto& road) {
         road.database.execute(
             "CREATE TRIGGER stop BEFORE INSERT ON dictations "
             "BEGIN SELECT RAISE(ABORT, 'full'); END");
       },
       "finished: 2 words"},
      {"a history that cannot be marked",
       [](auto& road) {
         road.database.execute(
             "CREATE TRIGGER stop BEFORE UPDATE ON dictations "
             "BEGIN SELECT RAISE(ABORT, 'full'); END");
       },
       "finished: 2 words", "none"},
      {"nothing set that may be absent",
       [](auto& road) {
         road.settings.playSounds = false;
         road.controller->onUsageChanged = nullptr;
         road.controller->dictationHistory = nullptr;
       },
       "finished: 2 words", "(no record)", 0},
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(row.name);
    DictationRoad road;
    std::vector<std::string> quota;
    road.controller->onQuotaExceeded = [&](const std::string& message) {
      quota.push_back(message);
      EXPECT_EQ(road.phase(), "transcribing") << "told before the message shows";
    };
    road.controller->begin();
    road.platform.time.advance(Seconds(1));
    row.arrange(road);
    road.controller->finish();
    road.platform.time.advance(Seconds(0.51));
    EXPECT_EQ(road.phase(), row.message);
    EXPECT_EQ(road.lastDelivery(), row.delivery);
    EXPECT_EQ(road.usageChanges, row.usageChanges);
    EXPECT_EQ(quota.size(), row.name == std::string("quota") ? 1u : 0u);
    EXPECT_EQ(road.platform.sounds.played.size(), road.settings.playSounds ? 2u : 1u);
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

TEST(DictationControllerTest, ARecordingThatIsCancelledOrEmptyEndsInSilence) {
  for (const bool cancelled : {true, false}) {
    DictationRoad road;
    if (!cancelled) road.platform.audio.payload.clear();
    road.controller->begin();
    road.platform.time.advance(Seconds(1));
    cancelled ? road.controller->cancel() : road.controller->finish();
    EXPECT_THAT(road.phases, ElementsAre("recording", "idle"));
    EXPECT_THAT(road.platform.sounds.played, ElementsAre("Tink"));
    EXPECT_TRUE(std::filesystem::is_empty(road.platform.scratch()));
    EXPECT_EQ(road.platform.audio.liveStreams(), 0u);
    road.platform.time.advance(Seconds(10));
    EXPECT_THAT(road.uploads, IsEmpty());
    EXPECT_EQ(road.lastDelivery(), "(no record)");
  }
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

TEST(DictationControllerTest, AMicrophoneThatIsRefusedOrLostIsToldAndForgotten) {
  for (const bool refused : {true, false}) {
    DictationRoad road;
    if (refused) road.platform.audio.status = MicrophoneAuthorization::denied;
    road.controller->begin();
    road.platform.time.advance(Seconds(0.5));
    road.platform.audio.die("unplugged");
    road.platform.time.runReady();
    const std::string told = refused ? "failed: Pell needs microphone access." : "failed: Pell lost the mic";
    EXPECT_THAT(road.phase(), ::testing::StartsWith(told));
    road.controller->finish();
    EXPECT_THAT(road.phase(), ::testing::StartsWith(told)) << "the key going up changes nothing";
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
  struct Case {
    const char* name;
    std::function<void(DictationRoad&, StyleResolver::Rules&)> arrange;
    std::string query;
    int hostQuestions = 1;
    int overridesUsed = 0;
  };
  const Case cases[] = {
      {"by application", [](auto&, auto&) {}, "&style=note"},
      {"by site", [](auto& road, auto&) { road.browserHost = "mail.example.com"; }, "&style=mail"},
      {"sites switched off",
       [](auto& road, auto& changed) {
         road.browserHost = "mail.example.com";
         changed.useBrowserHost = false;
       },
       "&style=note", 0},
      {"just this once", [](auto&, auto& changed) { changed.oneShotOverride = "once"; }, "&style=once", 1, 1},
      {"in Pell", [](auto& road, auto&) { road.platform.desktop.activateSelf(); }, ""},
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(row.name);
    DictationRoad road;
    auto changed = rules;
    row.arrange(road, changed);
    int overridesUsed = 0;
    road.controller->styleRules = [&] { return changed; };
    road.controller->onOverrideConsumed = [&] { ++overridesUsed; };
    road.dictate();
    ASSERT_EQ(road.uploads.size(), 1u);
    EXPECT_THAT(road.uploads.front().url, ::testing::EndsWith("?language=multi" + row.query));
    EXPECT_EQ(road.hostQuestions, row.hostQuestions);
    EXPECT_EQ(overridesUsed, row.overridesUsed);

    road.controller->styleRules = nullptr;
    road.controller->begin();
    EXPECT_EQ(road.controller->activeStyleID(), std::nullopt) << "nothing stays from the dictation before";
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
  };
  const Case cases[] = {
      {"another application comes to the front", false, false, true, 0, "finished: 2 words", "inserted",
       "org.example.Other"},
      {"into the open note", true, true, true, 1, "finished: Added to your note", "note", "(none)"},
      {"no note open", true, true, false, 1, "finished: 2 words", "inserted", "(none)"},
      {"Pell comes to the front", false, true, true, 0, "finished: 2 words", "inserted",
       "com.pell.dictation"},
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
