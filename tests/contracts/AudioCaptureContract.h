// What every AudioCapture does.
#pragma once

#include "contracts/World.h"
#include "platform/AudioCapture.h"

namespace pell::testing {

/// A microphone, and what happens to it.
class AudioCaptureWorld : public World {
 public:
  virtual AudioCapture& audio() = 0;

  /// A path in a private directory, new each time.
  virtual std::filesystem::path newFile() = 0;

  /// What the microphone hears from now on.
  virtual void hearTone() = 0;
  virtual void hearSilence() = 0;

  /// Every microphone, and what serves it, is gone.
  virtual void loseMicrophone() = 0;

  /// Streams of this process that capture now, as the machine counts them.
  virtual int openStreams() = 0;

  /// Whether a player can read the file to its end and finds sound in it.
  virtual bool playable(const std::filesystem::path& file) = 0;
};

class AudioCaptureContract : public Contract<AudioCaptureWorld> {
 protected:
  /// A recording that hears, where there is something to hear.
  std::unique_ptr<AudioRecording> start(const std::filesystem::path& file,
                                        const std::function<void(AudioRecording&)>& before = nullptr) {
    auto opening = world().audio().open(file, {});
    if (auto* failure = std::get_if<AudioFailure>(&opening)) {
      ADD_FAILURE() << failure->description;
      return nullptr;
    }
    auto recording = std::move(std::get<std::unique_ptr<AudioRecording>>(opening));
    recording->setMeteringEnabled(true);
    if (before) before(*recording);
    EXPECT_TRUE(recording->record());
    return recording;
  }

  static double level(AudioRecording& recording) {
    recording.updateMeters();
    return recording.averagePower(0);
  }
};

TEST_P(AudioCaptureContract, RecordsAFileThatIsPlayableOnceStopped) {
  world().hearTone();
  auto file = world().newFile();
  auto recording = start(file, [&](AudioRecording&) {
    EXPECT_EQ(std::filesystem::file_size(file), 0u);
    EXPECT_EQ(std::filesystem::status(file).permissions(), std::filesystem::perms(0600));
  });
  ASSERT_NE(recording, nullptr);
  EXPECT_TRUE(world().waitUntil([&] { return level(*recording) > -60; }));
  EXPECT_EQ(world().openStreams(), 1);
  world().settle();
  recording->stop();
  EXPECT_GT(std::filesystem::file_size(file), 0u);
  EXPECT_TRUE(world().playable(file));
  EXPECT_TRUE(world().waitUntil([&] { return world().openStreams() == 0; }));
  auto size = std::filesystem::file_size(file);
  recording->stop();
  EXPECT_EQ(std::filesystem::file_size(file), size);
}

TEST_P(AudioCaptureContract, TellsLoudFromSilent) {
  world().hearTone();
  auto recording = start(world().newFile());
  ASSERT_NE(recording, nullptr);
  EXPECT_TRUE(world().waitUntil([&] { return level(*recording) > -40; })) << recording->averagePower(0);
  EXPECT_LE(recording->averagePower(0), 0.0);
  world().hearSilence();
  EXPECT_TRUE(world().waitUntil([&] { return level(*recording) < -60; })) << recording->averagePower(0);
  recording->stop();
}

TEST_P(AudioCaptureContract, LetsGoOfTheMicrophoneWhenDropped) {
  auto recording = start(world().newFile());
  ASSERT_NE(recording, nullptr);
  ASSERT_TRUE(world().waitUntil([&] { return world().openStreams() == 1; }));
  recording.reset();
  EXPECT_TRUE(world().waitUntil([&] { return world().openStreams() == 0; }));
}

TEST_P(AudioCaptureContract, ReportsAFileThatCannotBeMade) {
  auto opening = world().audio().open("/nonexistent/folder/pell.m4a", {});
  ASSERT_TRUE(std::holds_alternative<AudioFailure>(opening));
  EXPECT_NE(std::get<AudioFailure>(opening).description, "");
}

TEST_P(AudioCaptureContract, TellsOnceThatTheMicrophoneDied) {
  world().hearTone();
  std::vector<std::string> failures;
  auto recording = start(world().newFile(), [&](AudioRecording& made) {
    made.onFailure = [&](std::string description) { failures.push_back(std::move(description)); };
  });
  ASSERT_NE(recording, nullptr);
  ASSERT_TRUE(world().waitUntil([&] { return level(*recording) > -60; }));
  world().loseMicrophone();
  EXPECT_TRUE(world().waitUntil([&] { return !failures.empty(); }));
  world().settle();
  ASSERT_EQ(failures.size(), 1u);
  EXPECT_NE(failures.front(), "");
  recording->stop();
  EXPECT_EQ(failures.size(), 1u);
}

TEST_P(AudioCaptureContract, CannotRecordWithoutAMicrophone) {
  EXPECT_TRUE(world().waitUntil([&] { return world().audio().hasDefaultDevice(); }));
  world().loseMicrophone();
  EXPECT_TRUE(world().waitUntil([&] { return !world().audio().hasDefaultDevice(); }));
  auto opening = world().audio().open(world().newFile(), {});
  if (auto* recording = std::get_if<std::unique_ptr<AudioRecording>>(&opening)) {
    EXPECT_FALSE((*recording)->record());
    (*recording)->stop();
  } else {
    EXPECT_NE(std::get<AudioFailure>(opening).description, "");
  }
}

TEST_P(AudioCaptureContract, AnswersARequestForAccessOnce) {
  auto answers = std::make_shared<Inbox<bool>>();
  world().audio().requestAccess([answers](bool granted) { answers->put(granted); });
  EXPECT_TRUE(world().waitUntil([&] { return answers->size() > 0; }));
  world().settle();
  EXPECT_THAT(answers->all(), ::testing::ElementsAre(true));
  EXPECT_TRUE(world().waitUntil(
      [&] { return world().audio().authorization() == MicrophoneAuthorization::authorized; }));
}

}  // namespace pell::testing
