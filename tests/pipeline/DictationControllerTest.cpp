#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sstream>

#include "pipeline/DictationController.h"
#include "pipeline/DictationRoad.h"

namespace pell::testing {
namespace {

using ::testing::ElementsAre;

const std::string refusal = "failed: " + std::string(SecureInput::refusal);
const std::string saved = " It is saved in your dictation history.";
const std::string done = "finished: 2 words";

MemoryHttpSession::Reply reply(int status, std::string body) {
  return {.outcome = HttpResponse{.status = status, .headers = {}, .body = std::move(body)}};
}

struct Scene : DictationRoad {
  /// Plays a scene in words: what the user does, what happens meanwhile, and numbers that let seconds pass.
  void play(const std::string& scene) {
    std::istringstream words(scene);
    for (std::string word; words >> word;) {
      const auto act = acts.find(word);
      act == acts.end() ? platform.time.advance(Seconds(std::stod(word))) : act->second();
    }
  }

  void failWrites(const char* kind) {
    database.execute("CREATE TRIGGER stop BEFORE " + std::string(kind) +
                     " ON dictations BEGIN SELECT RAISE(ABORT, 'full'); END");
  }

  bool noteOpen = false;
  MemoryApplication& other = [this]() -> MemoryApplication& {
    auto& launched = platform.desktop.launchEditor("org.example.Other", "Other");
    platform.desktop.activate(editor);
    return launched;
  }();

  const std::map<std::string, std::function<void()>> acts{
      {"begin", [this] { controller->begin(); }},
      {"finish", [this] { controller->finish(); }},
      {"cancel", [this] { controller->cancel(); }},
      {"toggle", [this] { controller->toggle(); }},
      {"dismiss", [this] { controller->clearMessage(); }},
      // The microphone.
      {"asking", [this] { platform.audio.status = MicrophoneAuthorization::notDetermined; }},
      {"granted", [this] { platform.audio.answerAccess(true); }},
      {"denied", [this] { platform.audio.status = MicrophoneAuthorization::denied; }},
      {"dies", [this] { platform.audio.die("unplugged"); }},
      {"mute", [this] { platform.audio.payload.clear(); }},
      // The server.
      {"oneWord", [this] { spoken.words = 1; }},
      {"broken", [this] { uploadReply = reply(500, ""); }},
      {"offline", [this] { uploadReply = MemoryHttpSession::Reply{.outcome = HttpFailure{"refused"}}; }},
      {"quota",
       [this] {
         uploadReply = reply(402, R"({"error": "Your minutes are used up.", "code": "QUOTA_EXCEEDED",
                                      "status": 402, "request_id": "1"})");
       }},
      // The desktop.
      {"password", [this] { field.attributes.insert_or_assign("AXRole", std::string("AXSecureTextField")); }},
      {"ungranted", [this] { platform.desktop.trusted = false; }},
      {"editor", [this] { platform.desktop.activate(editor); }},
      {"other", [this] { platform.desktop.activate(other); }},
      {"pell",
       [this] {
         platform.desktop.activateSelf();
         platform.desktop.frontmost()->focus = platform.desktop.makeTextElement();
       }},
      {"note", [this] { noteOpen = true; }},
      // Settings, and what may be absent.
      {"pasting", [this] { settings.injectionMode = InjectionMode::paste; }},
      {"copying", [this] { settings.injectionMode = InjectionMode::copyOnly; }},
      {"noInserts", [this] { failWrites("INSERT"); }},
      {"noUpdates", [this] { failWrites("UPDATE"); }},
      {"bare",
       [this] {
         settings.playSounds = false;
         controller->onUsageChanged = nullptr;
         controller->dictationHistory = nullptr;
       }},
  };
};

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
    std::string meanwhile;  // while the user speaks
    std::string message;
    const char* delivery = "(no record)";
    int usageChanges = 1;
  };
  const Case cases[] = {
      {"", done, "inserted"},
      {"oneWord", "finished: 1 word", "inserted"},
      {"pasting", done, "pasted"},
      {"copying", "finished: Copied. Press ⌘V", "copied"},
      {"password", refusal + saved, "failed"},
      {"copying password", refusal + saved, "failed"},
      {"ungranted",
       "failed: Pell needs Accessibility access to type for you. The text is on your clipboard. Press ⌘V." +
           saved,
       "failed"},
      {"offline", "failed: Pell can't reach the server. Check your connection and try again.", "(no record)",
       0},
      {"quota", "failed: Your minutes are used up.", "(no record)", 0},
      {"noInserts", done},
      {"noUpdates", done, "none"},
      {"bare", done, "(no record)", 0},
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(row.meanwhile);
    Scene road;
    std::vector<std::string> quota;
    road.controller->onQuotaExceeded = [&](const std::string& message) {
      quota.push_back(message);
      EXPECT_EQ(road.phase(), "transcribing") << "told before the message shows";
    };
    road.play("begin 1 " + row.meanwhile + " finish 0.51");
    EXPECT_EQ(road.lastDelivery(), row.delivery);
    EXPECT_EQ(road.usageChanges, row.usageChanges);
    EXPECT_EQ(quota.size(), row.meanwhile == "quota" ? 1u : 0u);
    EXPECT_EQ(road.platform.sounds.played.size(), road.settings.playSounds ? 2u : 1u);
    EXPECT_THAT(road.phases, ElementsAre("recording", "transcribing", row.message));
  }
}

TEST(DictationControllerTest, EachPhaseTakesWhatFitsAndItsTimersEndWithIt) {
  const std::string failed = "failed: Request failed (500).";
  const std::string recording = "recording", transcribing = "transcribing", idle = "idle";
  struct Case {
    const char* scene;
    std::vector<std::string> phases;
  };
  const Case cases[] = {
      {"password begin 4.9", {refusal}},
      {"finish cancel 0.4", {}},
      {"begin 0.5 begin 0.4", {recording}},
      {"toggle 1 toggle 0.2 begin 0.4", {recording, transcribing, done}},
      {"begin 1 finish 0.2 finish 0.4", {recording, transcribing, done}},
      {"begin 1 finish 0.2 cancel 0.4", {recording, transcribing, done}},
      {"begin 1 finish 0.2 toggle 0.4", {recording, transcribing, done}},
      {"begin 1 finish 0.51 finish cancel 0.4", {recording, transcribing, done}},
      {"begin 1 cancel 10", {recording, idle}},
      {"mute begin 1 finish 10", {recording, idle}},
      // A message's timer never clears what came after it.
      {"begin 1 finish 0.51 begin 30", {recording, transcribing, done, recording}},
      {"begin 1 finish 0.51 password 1 begin 4.9", {recording, transcribing, done, refusal}},
      {"broken begin 1 finish 0.51 dismiss 10", {recording, transcribing, failed, idle}},
      {"broken begin 1 finish 0.51 3 dismiss password begin 4.9",
       {recording, transcribing, failed, idle, refusal}},
      // A recorder that was granted late runs unobserved, and serves the next dictation.
      {"asking begin 0 finish granted 3 begin 1 finish 0.51",
       {recording, idle, recording, transcribing, done}},
      {"denied begin 0.5 finish 5",
       {recording,
        "failed: Pell needs microphone access. Open System Settings › Privacy & Security › Microphone and "
        "switch Pell on.",
        idle}},
      {"begin 0.5 dies 0 finish 5",
       {recording, "failed: Pell lost the microphone. Check it and try again.", idle}},
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(row.scene);
    Scene road;
    road.play(row.scene);
    road.phases.erase(std::unique(road.phases.begin(), road.phases.end()), road.phases.end());
    EXPECT_EQ(road.phases, row.phases);
    std::vector<std::string> cues;
    for (const auto& phase : row.phases) {
      if (phase == recording) cues.emplace_back("Tink");
      if (phase == transcribing) cues.emplace_back("Pop");
    }
    EXPECT_EQ(road.platform.sounds.played, cues);
    const bool records = road.phase() == recording;
    EXPECT_EQ(road.platform.audio.liveStreams(), records ? 1u : 0u);
    EXPECT_EQ(std::filesystem::is_empty(road.platform.scratch()), !records);
    EXPECT_LE(road.platform.audio.files.size(), 2u);
    EXPECT_EQ(std::holds_alternative<Recorder::Recording>(road.recorder.state()), records);
    EXPECT_FALSE(std::holds_alternative<Recorder::Failed>(road.recorder.state())) << "failures are cleared";
    const bool said = std::count(row.phases.begin(), row.phases.end(), done) > 0;
    EXPECT_EQ(road.field.text, said ? "Hello there" : "") << "an upload in flight still ends in text";
    EXPECT_EQ(road.history.recent().size(), said ? 1u : 0u);
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

TEST(DictationControllerTest, TheStyleFollowsTheTarget) {
  struct Case {
    const char* before;
    bool sites, once;
    std::string query;
    int hostQuestions = 1;
  };
  const Case cases[] = {
      {"editor", true, false, "&style=mail"}, {"editor", false, false, "&style=note", 0},
      {"editor", true, true, "&style=once"},  {"pell", true, false, "&style=mail"},
      {"pell", false, false, "", 0},
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(row.before + row.query);
    Scene road;
    road.browserHost = "mail.example.com";
    int overridesUsed = 0;
    road.controller->onOverrideConsumed = [&] { ++overridesUsed; };
    road.controller->styleRules = [&] {
      StyleResolver::Rules rules;
      rules.contextAware = true;
      rules.useBrowserHost = row.sites;
      rules.appRules = {{"org.example.Editor", "note"}};
      rules.hostRules = {{"mail.example.com", "mail"}};
      rules.knownStyleIDs = {"note", "mail", "once"};
      if (row.once) rules.oneShotOverride = "once";
      return rules;
    };
    road.play(row.before + std::string(" begin 1 finish 0.51"));
    ASSERT_EQ(road.uploads.size(), 1u);
    EXPECT_THAT(road.uploads.front().url, ::testing::EndsWith("?language=multi" + row.query));
    EXPECT_EQ(road.hostQuestions, row.hostQuestions);
    EXPECT_EQ(overridesUsed, row.once ? 1 : 0);

    road.controller->styleRules = nullptr;
    road.controller->begin();
    EXPECT_EQ(road.controller->activeStyleID(), std::nullopt) << "nothing stays from the dictation before";
  }
}

TEST(DictationControllerTest, TheTextGoesToWhereTheUserIsAtTheEnd) {
  struct Case {
    const char* scene;
    std::string message;
    const char* delivery;
    const char* target;  // as the history keeps it
    int noteOffers = 0;
  };
  const Case cases[] = {
      {"note begin 1 finish other 0.6", done, "inserted", "org.example.Other"},
      {"note begin 1 finish pell 0.6", done, "inserted", "com.pell.dictation"},
      {"note pell begin 1 finish 0.6", "finished: Added to your note", "note", "(none)", 1},
      {"pell begin 1 finish 0.6", done, "inserted", "(none)", 1},
      {"pell begin 1 finish editor password 0.6", refusal + saved, "failed", "(none)", 1},
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(row.scene);
    Scene road;
    int noteOffers = 0;
    road.controller->insertIntoEditor = [&](const TranscriptionResult& result) {
      ++noteOffers;
      EXPECT_EQ(road.lastRecord()->text, result.transcript) << "in the history before it is in the note";
      return road.noteOpen;
    };
    road.play(row.scene);
    EXPECT_EQ(noteOffers, row.noteOffers);
    EXPECT_EQ(road.phase(), row.message);
    EXPECT_EQ(road.lastDelivery(), row.delivery);
    EXPECT_EQ(road.lastRecord()->targetBundleID.value_or("(none)"), row.target);
    EXPECT_EQ(road.field.text, "");
  }
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
