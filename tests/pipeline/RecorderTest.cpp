#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <regex>

#include "async/TaskScope.h"
#include "pipeline/Recorder.h"
#include "stores/Log.h"
#include "support/MemoryPlatform.h"

namespace pell::testing {
namespace {

namespace fs = std::filesystem;

class RecorderTest : public ::testing::Test {
 protected:
  RecorderTest() {
    recorder.onChange = [this] { ++changes; };
  }

  /// Starts and lets everything that is due run; absent while the permission prompt is open.
  std::optional<bool> start() {
    auto outcome = std::make_shared<std::optional<bool>>();
    tasks.spawn(startInto(outcome));
    platform.time.runReady();
    return *outcome;
  }

  Task<void> startInto(std::shared_ptr<std::optional<bool>> outcome) {
    bool started = co_await recorder.start();
    *outcome = started;
  }

  std::vector<std::string> files() const {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(platform.scratch()))
      names.push_back(entry.path().filename());
    return names;
  }

  MemoryPlatform platform;
  Log log{platform.log};
  int changes = 0;
  Recorder recorder{{.audio = platform.audio,
                     .main = platform.time.main(),
                     .clock = platform.time,
                     .scratch = platform.scratch(),
                     .words = MemoryPlatform::words(),
                     .log = log}};
  TaskScope tasks{platform.time.main()};
};

TEST_F(RecorderTest, SpeechLiesInAPrivateFileOnlyWhileItIsRecorded) {
  ASSERT_EQ(start(), true);
  ASSERT_EQ(files().size(), 1u);
  EXPECT_TRUE(std::regex_match(
      files().front(),
      std::regex("pell-[0-9A-F]{8}-[0-9A-F]{4}-4[0-9A-F]{3}-[89AB][0-9A-F]{3}-[0-9A-F]{12}\\.m4a")))
      << files().front();
  auto onlyTheUser = fs::perms::owner_read | fs::perms::owner_write;
  EXPECT_EQ(fs::status(platform.audio.files.front()).permissions(), onlyTheUser);

  platform.audio.payload = std::string("\0speech\xFF", 8);
  EXPECT_EQ(recorder.stop(), std::string("\0speech\xFF", 8));
  EXPECT_THAT(files(), ::testing::IsEmpty());
  EXPECT_EQ(platform.audio.liveStreams(), 0u);
  EXPECT_EQ(recorder.stop(), std::nullopt);
}

TEST_F(RecorderTest, WhatKeepsAStartFromSucceedingIsTold) {
  auto& audio = platform.audio;
  struct Case {
    const char* name;
    std::function<void()> arrange;
    std::string message;
    std::size_t filesLeft = 0;
  };
  const std::string noAccess =
      "Pell needs microphone access. Open System Settings › Privacy & Security › Microphone and switch Pell "
      "on.";
  const Case cases[] = {
      {"denied", [&] { audio.status = MicrophoneAuthorization::denied; }, noAccess},
      {"restricted", [&] { audio.status = MicrophoneAuthorization::restricted; }, noAccess},
      {"refused at the prompt", [&] { audio.status = MicrophoneAuthorization::notDetermined; }, noAccess},
      {"unopenable", [&] { audio.openFailure = "No sound server."; },
       "Pell could not start the microphone: No sound server."},
      {"no directory", [&] { fs::remove_all(platform.scratch()); },
       "Pell could not start the microphone: The file cannot be made."},
      {"refused at the last step", [&] { audio.recordSucceeds = false; },
       "Pell could not start the microphone. Try again.", 1},
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(row.name);
    audio.status = MicrophoneAuthorization::authorized;
    audio.openFailure.reset();
    fs::create_directories(platform.scratch());
    row.arrange();
    std::vector<std::size_t> states;
    recorder.onChange = [&] { states.push_back(recorder.state().index()); };
    auto started = start();
    if (audio.isAsking()) {
      EXPECT_EQ(started, std::nullopt);
      audio.answerAccess(false);
      platform.time.runReady();
    } else {
      EXPECT_EQ(started, false);
    }
    EXPECT_EQ(recorder.state(), Recorder::State(Recorder::Failed{row.message}));
    EXPECT_THAT(states, ::testing::ElementsAre(1, 3)) << "requesting permission, then failed";
    EXPECT_EQ(audio.liveStreams(), 0u);
    if (fs::exists(platform.scratch())) {
      EXPECT_EQ(files().size(), row.filesLeft);
    }
    recorder.clearFailure();
    recorder.clearFailure();
    EXPECT_THAT(states, ::testing::ElementsAre(1, 3, 0)) << "clearing tells of one change only";
  }
}

TEST_F(RecorderTest, TheLevelFollowsTheMicrophoneSmoothly) {
  const std::vector<std::pair<double, double>> levels{{0, 0.4}, {6, 0.4}, {-25, 0.2}, {-50, 0}, {-160, 0}};
  for (const auto& [power, first] : levels) {
    SCOPED_TRACE(power);
    platform.audio.power = power;
    ASSERT_EQ(start(), true);
    EXPECT_EQ(recorder.level(), 0);
    platform.time.advance(Seconds(0.05));
    EXPECT_DOUBLE_EQ(recorder.level(), first);
    platform.time.advance(Seconds(0.05));
    EXPECT_DOUBLE_EQ(recorder.level(), first * 1.6);
    recorder.stop();
    EXPECT_EQ(recorder.level(), 0);
  }
}

TEST_F(RecorderTest, SecondsAreCountedWholeAndASecondStartChangesNothing) {
  start();
  platform.time.advance(Seconds(0.98));
  EXPECT_EQ(recorder.elapsedSeconds(), 0);
  platform.time.advance(Seconds(2.07));
  int before = changes;
  EXPECT_EQ(start(), true);
  EXPECT_EQ(changes, before);
  EXPECT_EQ(recorder.elapsedSeconds(), 3);
  EXPECT_EQ(files().size(), 1u);
  recorder.stop();
  platform.time.advance(Seconds(5));
  EXPECT_EQ(recorder.elapsedSeconds(), 3) << "the last value stays";
  start();
  EXPECT_EQ(recorder.elapsedSeconds(), 0);
}

TEST_F(RecorderTest, StoppingDuringThePromptDoesNotStopALaterGrant) {
  platform.audio.status = MicrophoneAuthorization::notDetermined;
  EXPECT_EQ(start(), std::nullopt);
  changes = 0;
  EXPECT_EQ(recorder.stop(), std::nullopt);
  EXPECT_EQ(changes, 1);
  EXPECT_TRUE(std::holds_alternative<Recorder::Idle>(recorder.state()));

  platform.audio.answerAccess(true);
  platform.time.runReady();
  EXPECT_TRUE(std::holds_alternative<Recorder::Recording>(recorder.state()));
  EXPECT_EQ(start(), true);
}

TEST_F(RecorderTest, TwoPromptsAnsweredTogetherLeaveOneRecording) {
  platform.audio.status = MicrophoneAuthorization::notDetermined;
  start();
  start();
  platform.audio.answerAccess(true);
  platform.time.runReady();
  EXPECT_EQ(platform.audio.liveStreams(), 1u);
  EXPECT_EQ(files().size(), 1u);
  EXPECT_EQ(recorder.stop(), platform.audio.payload);
  EXPECT_THAT(files(), ::testing::IsEmpty());
}

TEST_F(RecorderTest, AMicrophoneThatDiesEndsTheRecording) {
  start();
  platform.time.advance(Seconds(1.02));
  changes = 0;
  platform.audio.die("unplugged");
  platform.time.runReady();
  EXPECT_EQ(recorder.state(),
            Recorder::State(Recorder::Failed{"Pell lost the microphone. Check it and try again."}));
  EXPECT_EQ(changes, 1);
  EXPECT_EQ(recorder.level(), 0);
  EXPECT_THAT(files(), ::testing::IsEmpty());
  EXPECT_EQ(platform.audio.liveStreams(), 0u);

  platform.time.advance(Seconds(1));
  EXPECT_EQ(changes, 1) << "the ticking has ended";
  EXPECT_EQ(start(), true) << "the next recording is none the worse";
  EXPECT_EQ(recorder.stop(), platform.audio.payload);
}

TEST_F(RecorderTest, NothingIsLeftBehind) {
  for (const std::string way : {"cancelled", "an empty file", "the file gone"}) {
    SCOPED_TRACE(way);
    ASSERT_EQ(start(), true);
    if (way == "cancelled") recorder.cancel();
    if (way == "an empty file") platform.audio.payload.clear();
    if (way == "the file gone") fs::remove_all(platform.scratch());
    EXPECT_EQ(recorder.stop(), std::nullopt);
    fs::create_directories(platform.scratch());
    EXPECT_TRUE(std::holds_alternative<Recorder::Idle>(recorder.state()));
    EXPECT_THAT(files(), ::testing::IsEmpty());
    EXPECT_EQ(platform.audio.liveStreams(), 0u);
  }
}

TEST_F(RecorderTest, DestroyingItAtAnyPointLeavesNoStreamAndNoFile) {
  for (int steps = 0; steps < 12; ++steps) {
    SCOPED_TRACE(steps);
    MemoryPlatform desk;
    desk.audio.status = MicrophoneAuthorization::notDetermined;
    Log deskLog{desk.log};
    {
      Recorder tested{{.audio = desk.audio,
                       .main = desk.time.main(),
                       .clock = desk.time,
                       .scratch = desk.scratch(),
                       .words = MemoryPlatform::words(),
                       .log = deskLog}};
      auto run = [&]() -> Task<void> {
        bool started = co_await tested.start();
        EXPECT_TRUE(started);
      };
      TaskScope scope{desk.time.main()};
      scope.spawn(run());
      for (int at = 0; at < steps; ++at) {
        if (desk.audio.isAsking()) desk.audio.answerAccess(true);
        desk.time.step();
      }
    }
    desk.time.advance(Seconds(1));
    EXPECT_EQ(desk.audio.liveStreams(), 0u);
    EXPECT_TRUE(fs::is_empty(desk.scratch()));
  }
}

TEST_F(RecorderTest, TheSweepTakesOldRecordingsAndNothingElse) {
  const Date now = platform.time.now();
  auto put = [&](const std::string& name, double age) {
    auto file = platform.scratch() / name;
    std::ofstream(file) << "left";
    auto written = std::chrono::time_point_cast<std::chrono::system_clock::duration>(now - Seconds(age));
    fs::last_write_time(file, fs::file_time_type::clock::from_sys(written));
  };
  EXPECT_EQ(recorder.sweepOrphans(platform.scratch(), now), 0);
  EXPECT_EQ(recorder.sweepOrphans(platform.scratch() / "missing", now), 0);
  EXPECT_EQ(platform.log.count("audio_orphans_swept"), 0u);

  put("pell-running.m4a", 899);
  put("pell-crashed.m4a", 900);
  put("pell-older.m4a", 90000);
  put("pell-notes.txt", 90000);
  put("song.m4a", 90000);
  EXPECT_EQ(recorder.sweepOrphans(platform.scratch(), now), 2);
  EXPECT_THAT(files(), ::testing::UnorderedElementsAre("pell-running.m4a", "pell-notes.txt", "song.m4a"));
  ASSERT_EQ(platform.log.count("audio_orphans_swept"), 1u);
  EXPECT_EQ(platform.log.lines("audio_orphans_swept").front().at("count"), 2);
}

}  // namespace
}  // namespace pell::testing
