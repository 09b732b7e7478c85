#include <cmath>
#include <cstdio>
#include <fstream>
#include <gst/gst.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include "contracts/AudioCaptureContract.h"
#include "linux/AppProcess.h"
#include "linux/RealLoop.h"
#include "linux/SoundServer.h"
#include "platform/linux/GstAudioCapture.h"
#include "support/MemoryLog.h"

namespace pell::testing {
namespace {

class HeldDefaults : public UserDefaults {
 public:
  std::optional<DefaultsValue> get(std::string_view key) const override {
    auto found = values_.find(std::string(key));
    return found == values_.end() ? std::nullopt : std::optional(found->second);
  }
  void set(std::string_view key, DefaultsValue value) override {
    values_[std::string(key)] = std::move(value);
  }
  void remove(std::string_view key) override { values_.erase(std::string(key)); }

 private:
  std::map<std::string, DefaultsValue> values_;
};

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
  const std::string description = "filesrc location=" + file.string() +
                                  " ! qtdemux ! avdec_aac ! audioconvert ! "
                                  "audio/x-raw,format=F32LE,layout=interleaved ! fakesink name=sink "
                                  "sync=false signal-handoffs=true";
  GstElement* pipeline = gst_parse_launch(description.c_str(), nullptr);
  struct Sum {
    double squares = 0;
    std::size_t samples = 0;
  } sum;
  GstElement* sink = gst_bin_get_by_name(GST_BIN(pipeline), "sink");
  g_signal_connect(sink, "handoff", G_CALLBACK(+[](GstElement*, GstBuffer* buffer, GstPad*, Sum* into) {
                     GstMapInfo map;
                     gst_buffer_map(buffer, &map, GST_MAP_READ);
                     const auto* values = reinterpret_cast<const float*>(map.data);
                     for (std::size_t i = 0; i < map.size / sizeof(float); ++i, ++into->samples)
                       into->squares += double{values[i]} * double{values[i]};
                     gst_buffer_unmap(buffer, &map);
                   }),
                   &sum);
  gst_element_set_state(pipeline, GST_STATE_PLAYING);
  GstBus* bus = gst_element_get_bus(pipeline);
  GstMessage* message = gst_bus_timed_pop_filtered(
      bus, 10 * GST_SECOND, static_cast<GstMessageType>(GST_MESSAGE_EOS | GST_MESSAGE_ERROR));
  Played played;
  played.readToEnd = message && GST_MESSAGE_TYPE(message) == GST_MESSAGE_EOS;
  played.seconds = static_cast<double>(sum.samples) / 16000;
  played.power = sum.samples ? 10 * std::log10(sum.squares / static_cast<double>(sum.samples) + 1e-16) : -160;
  if (message) gst_message_unref(message);
  gst_element_set_state(pipeline, GST_STATE_NULL);
  gst_object_unref(bus);
  gst_object_unref(sink);
  gst_object_unref(pipeline);
  return played;
}

/// A sound server of its own, so that it can be ended, restarted and stopped without harm to other tests.
class GstWorld : public AudioCaptureWorld {
 public:
  GstWorld() : capture_(std::make_unique<GstAudioCapture>(loop_, defaults_, Log(log_))) {
    EXPECT_TRUE(waitUntil([this] { return capture_->hasDefaultDevice(); }));
  }
  ~GstWorld() override {
    capture_.reset();
    std::filesystem::remove_all(folder_);
  }

  bool waitUntil(std::function<bool()> done, Seconds limit) override { return loop_.runUntil(done, limit); }
  using World::waitUntil;
  void settle() override { loop_.runFor(Seconds(0.3)); }
  Instant now() const override { return loop_.now(); }

  AudioCapture& audio() override { return *capture_; }
  std::filesystem::path newFile() override { return folder_ / (std::to_string(++files_) + ".m4a"); }
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

  std::unique_ptr<AudioRecording> start(const std::filesystem::path& file) {
    auto opening = audio().open(file, {});
    if (auto* failure = std::get_if<AudioFailure>(&opening)) {
      ADD_FAILURE() << failure->description;
      return nullptr;
    }
    auto recording = std::move(std::get<std::unique_ptr<AudioRecording>>(opening));
    recording->setMeteringEnabled(true);
    EXPECT_TRUE(recording->record());
    return recording;
  }

  bool hears(AudioRecording& recording) {
    return waitUntil([&] {
      recording.updateMeters();
      return recording.averagePower(0) > -60;
    });
  }

 private:
  SoundServer server_;
  RealLoop loop_;
  HeldDefaults defaults_;
  MemoryLog log_;
  std::filesystem::path folder_ = [] {
    std::string name = (std::filesystem::temp_directory_path() / "capture.XXXXXX").string();
    return std::filesystem::path(mkdtemp(name.data()));
  }();
  int files_ = 0;
  std::unique_ptr<GstAudioCapture> capture_;
};

PELL_INSTANTIATE_CONTRACT(Gst, AudioCaptureContract, AudioCaptureWorld, GstWorld);

TEST(GstAudioCapture, KeepsTheFileToItsOwnerAndLosesNoSpeech) {
  GstWorld world;
  world.hearTone();
  const auto file = world.newFile();
  auto recording = world.start(file);
  ASSERT_NE(recording, nullptr);
  ASSERT_TRUE(world.hears(*recording));
  world.loop().runFor(Seconds(2));
  struct stat facts {};
  ASSERT_EQ(stat(file.c_str(), &facts), 0);
  EXPECT_EQ(facts.st_mode & 0777, 0600u);
  const auto start = world.now();
  recording->stop();
  EXPECT_LT(Seconds(world.now() - start).count(), 0.25);
  const auto played = play(file);
  EXPECT_TRUE(played.readToEnd);
  EXPECT_NEAR(played.seconds, 2.1, 0.2);
}

TEST(GstAudioCapture, OfARecordingThatIsStoppedAtOnceEndsQuicklyAndLeavesNoFileWithoutSound) {
  GstWorld world;
  world.hearTone();
  for (int round = 0; round < 5; ++round) {
    const auto file = world.newFile();
    auto recording = world.start(file);
    ASSERT_NE(recording, nullptr);
    int failures = 0;
    recording->onFailure = [&](std::string) { ++failures; };
    world.loop().runFor(Seconds(0.01 * round));
    const auto start = world.now();
    recording->stop();
    EXPECT_LT(Seconds(world.now() - start).count(), 0.3) << round;
    EXPECT_TRUE(std::filesystem::file_size(file) == 0 || play(file).seconds > 0) << round;
    world.loop().runFor(Seconds(0.05));
    EXPECT_EQ(failures, 0) << round;
    EXPECT_EQ(world.openStreams(), 0) << round;
  }
}

TEST(GstAudioCapture, WorksAgainAfterTheSoundServerWasRestarted) {
  GstWorld world;
  world.hearTone();
  {
    auto recording = world.start(world.newFile());
    ASSERT_NE(recording, nullptr);
    ASSERT_TRUE(world.hears(*recording));
    recording->stop();
  }
  world.server().end();
  ASSERT_TRUE(world.waitUntil([&] { return !world.audio().hasDefaultDevice(); }));
  EXPECT_TRUE(std::holds_alternative<AudioFailure>(world.audio().open(world.newFile(), {})));
  world.server().begin();
  ASSERT_TRUE(world.waitUntil([&] { return world.audio().hasDefaultDevice(); }));
  world.hearTone();
  const auto file = world.newFile();
  auto recording = world.start(file);
  ASSERT_NE(recording, nullptr);
  ASSERT_TRUE(world.hears(*recording));
  recording->stop();
  EXPECT_TRUE(world.playable(file));
}

TEST(GstAudioCapture, KeepsWhatWasSaidBeforeTheLastMicrophoneWasUnplugged) {
  GstWorld world;
  world.hearTone();
  const auto file = world.newFile();
  auto recording = world.start(file);
  ASSERT_NE(recording, nullptr);
  int failures = 0;
  recording->onFailure = [&](std::string) { ++failures; };
  ASSERT_TRUE(world.hears(*recording));
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
  world.hearTone();
  auto recording = world.start(world.newFile());
  ASSERT_NE(recording, nullptr);
  ASSERT_TRUE(world.hears(*recording));
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
}

}  // namespace
}  // namespace pell::testing
