#include <cmath>
#include <fstream>
#include <gst/gst.h>

#include "contracts/AudioCaptureContract.h"
#include "linux/RealLoop.h"
#include "linux/SoundServer.h"
#include "platform/linux/GstAudioCapture.h"
#include "support/MemoryLog.h"
#include "support/MemoryUserDefaults.h"
#include "support/TemporaryDirectory.h"

namespace pell::testing {
namespace {

/// GStreamer forks to look for its plugins when it starts for the first time in a fresh home; the address
/// sanitizer can dead-lock a child that was forked while other threads were running.
class PluginsKnown : public ::testing::Environment {
  void SetUp() override { gst_init(nullptr, nullptr); }
};
[[maybe_unused]] const auto* pluginsKnown = ::testing::AddGlobalTestEnvironment(new PluginsKnown);

/// What a player makes of a file: the seconds of sound in it, and how loud they are.
struct Played {
  bool readToEnd = false;
  double seconds = 0;
  double power = 0;
};

Played play(const std::filesystem::path& file) {
  const auto raw = file.string() + ".raw";
  const auto description = "filesrc location=" + file.string() +
                           " ! qtdemux ! avdec_aac ! audioconvert ! "
                           "audio/x-raw,format=F32LE,layout=interleaved ! filesink location=" +
                           raw;
  GstElement* pipeline = gst_parse_launch(description.c_str(), nullptr);
  gst_element_set_state(pipeline, GST_STATE_PLAYING);
  GstBus* bus = gst_element_get_bus(pipeline);
  GstMessage* message = gst_bus_timed_pop_filtered(
      bus, 10 * GST_SECOND, static_cast<GstMessageType>(GST_MESSAGE_EOS | GST_MESSAGE_ERROR));
  Played played{.readToEnd = message && GST_MESSAGE_TYPE(message) == GST_MESSAGE_EOS};
  if (message) gst_message_unref(message);
  gst_element_set_state(pipeline, GST_STATE_NULL);
  gst_object_unref(bus);
  gst_object_unref(pipeline);
  std::ifstream samples(raw, std::ios::binary);
  double squares = 0, count = 0;
  for (float value; samples.read(reinterpret_cast<char*>(&value), sizeof value); ++count)
    squares += double{value} * double{value};
  played.seconds = count / 16000;
  played.power = 10 * std::log10(squares / std::max(count, 1.0) + 1e-16);
  return played;
}

/// A sound server of its own, so that it can be ended, restarted and stopped without harm to other tests.
class GstWorld : public AudioCaptureWorld {
 public:
  GstWorld() : capture_(std::make_unique<GstAudioCapture>(loop_, defaults_, Log(log_))) {
    EXPECT_TRUE(waitUntil([this] { return capture_->hasDefaultDevice(); }));
  }

  bool waitUntil(std::function<bool()> done, Seconds limit) override { return loop_.runUntil(done, limit); }
  using World::waitUntil;
  void settle() override { loop_.runFor(Seconds(0.3)); }
  Instant now() const override { return loop_.now(); }

  AudioCapture& audio() override { return *capture_; }
  std::filesystem::path newFile() override { return folder_.path() / (std::to_string(++files_) + ".m4a"); }
  void hearTone() override { server_.playTone(); }
  void hearSilence() override { server_.playNothing(); }
  void loseMicrophone() override { server_.end(); }
  int openStreams() override { return server_.captureStreams(); }
  bool playable(const std::filesystem::path& file) override {
    const auto played = play(file);
    return played.readToEnd && played.seconds > 0 && played.power > -60;
  }

  SoundServer& server() { return server_; }
  RealLoop& loop() { return loop_; }
  UserDefaults& defaults() { return defaults_; }
  MemoryLog& log() { return log_; }

  /// A recording that has heard the tone.
  std::unique_ptr<AudioRecording> start(const std::filesystem::path& file) {
    hearTone();
    auto opening = audio().open(file, {});
    auto recording = std::move(std::get<std::unique_ptr<AudioRecording>>(opening));
    recording->setMeteringEnabled(true);
    EXPECT_TRUE(recording->record());
    EXPECT_TRUE(waitUntil([&] {
      recording->updateMeters();
      return recording->averagePower(0) > -60;
    }));
    return recording;
  }

 private:
  SoundServer server_;
  RealLoop loop_;
  MemoryUserDefaults defaults_;
  MemoryLog log_;
  TemporaryDirectory folder_;
  int files_ = 0;
  std::unique_ptr<GstAudioCapture> capture_;
};

PELL_INSTANTIATE_CONTRACT(Gst, AudioCaptureContract, AudioCaptureWorld, GstWorld);

TEST(GstAudioCapture, KeepsTheFileToItsOwnerAndLosesNoSpeech) {
  GstWorld world;
  const auto file = world.newFile();
  auto recording = world.start(file);
  world.loop().runFor(Seconds(2));
  EXPECT_EQ(std::filesystem::status(file).permissions(), std::filesystem::perms(0600));
  const auto start = world.now();
  recording->stop();
  EXPECT_LT(Seconds(world.now() - start).count(), 0.25);
  const auto played = play(file);
  EXPECT_TRUE(played.readToEnd);
  EXPECT_NEAR(played.seconds, 2.1, 0.2);
}

TEST(GstAudioCapture, KeepsWhatWasSaidBeforeTheLastMicrophoneWasUnplugged) {
  GstWorld world;
  const auto file = world.newFile();
  auto recording = world.start(file);
  int failures = 0;
  recording->onFailure = [&](std::string) { ++failures; };
  world.settle();
  world.server().unplugMicrophone();
  EXPECT_TRUE(world.waitUntil([&] { return !world.audio().hasDefaultDevice(); }));
  world.settle();
  recording->stop();
  EXPECT_LE(failures, 1);
  EXPECT_TRUE(world.playable(file));
  EXPECT_TRUE(std::holds_alternative<AudioFailure>(world.audio().open(world.newFile(), {})));
  EXPECT_EQ(world.log().count("microphone_unavailable"), 1u);
  world.server().plugMicrophone();
  EXPECT_TRUE(world.waitUntil([&] { return world.audio().hasDefaultDevice(); }));
}

TEST(GstAudioCapture, IsNotHeldUpByASoundServerThatHangs) {
  GstWorld world;
  auto recording = world.start(world.newFile());
  world.server().hang();
  auto start = world.now();
  recording->stop();
  EXPECT_LT(Seconds(world.now() - start).count(), 1.5);
  start = world.now();
  EXPECT_TRUE(std::holds_alternative<AudioFailure>(world.audio().open(world.newFile(), {})));
  EXPECT_LT(Seconds(world.now() - start).count(), 1.5);
  world.server().resume();
}

TEST(GstAudioCapture, AsksOnceAndRemembersTheAnswer) {
  GstWorld world;
  EXPECT_EQ(world.audio().authorization(), MicrophoneAuthorization::notDetermined);
  bool granted = false;
  world.audio().requestAccess([&](bool answer) { granted = answer; });
  ASSERT_TRUE(world.waitUntil([&] { return granted; }));
  EXPECT_EQ(world.openStreams(), 0);
  world.server().end();
  ASSERT_TRUE(world.waitUntil([&] { return !world.audio().hasDefaultDevice(); }));
  EXPECT_EQ(world.audio().authorization(), MicrophoneAuthorization::authorized);
  GstAudioCapture next(world.loop(), world.defaults(), Log(world.log()));
  EXPECT_EQ(next.authorization(), MicrophoneAuthorization::authorized);
}

TEST(GstAudioCapture, IsDeniedWhereTheServerRefusesUs) {
  GstWorld world;
  world.server().end();
  world.server().beginRefusing();
  EXPECT_TRUE(
      world.waitUntil([&] { return world.audio().authorization() == MicrophoneAuthorization::denied; }));
  std::optional<bool> granted;
  world.audio().requestAccess([&](bool answer) { granted = answer; });
  ASSERT_TRUE(world.waitUntil([&] { return granted.has_value(); }));
  EXPECT_FALSE(*granted);

  // Somebody switches it on, and the user is not asked a second time.
  world.server().end();
  world.server().begin();
  EXPECT_TRUE(
      world.waitUntil([&] { return world.audio().authorization() == MicrophoneAuthorization::authorized; }));
}

TEST(GstAudioCapture, TakesAMicrophoneForGrantedUntilTheServerHasTold) {
  SoundServer server;
  RealLoop loop;
  MemoryUserDefaults defaults;
  MemoryLog log;
  {
    GstAudioCapture capture(loop, defaults, Log(log));
    EXPECT_TRUE(capture.hasDefaultDevice()) << "it was not asked yet";
    loop.runFor(Seconds(0.5));
    EXPECT_TRUE(capture.hasDefaultDevice());
  }
  server.end();
  GstAudioCapture capture(loop, defaults, Log(log));
  EXPECT_TRUE(loop.runUntil([&] { return !capture.hasDefaultDevice(); }, Seconds(5)));
  std::optional<bool> answer;
  capture.requestAccess([&](bool granted) { answer = granted; });
  EXPECT_TRUE(loop.runUntil([&] { return answer.has_value(); }, Seconds(5)));
  EXPECT_EQ(capture.authorization(), MicrophoneAuthorization::notDetermined) << "nobody was there to decide";
}

}  // namespace
}  // namespace pell::testing
