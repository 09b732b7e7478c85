#include <algorithm>
#include <cmath>
#include <cstring>
#include <fstream>
#include <gtest/gtest.h>

#include "linux/AppProcess.h"
#include "linux/RealLoop.h"
#include "linux/SoundServer.h"
#include "platform/linux/Cues.h"
#include "platform/linux/PulseSoundPlayer.h"
#include "support/TemporaryDirectory.h"

namespace pell::testing {
namespace {

TEST(CuesTest, AreShortSoftAndWithoutClicks) {
  constexpr int rate = 48000;
  for (const char* name : {"Tink", "Pop"}) {
    const auto samples = cueSamples(name, rate);
    const double seconds = static_cast<double>(samples.size()) / rate;
    EXPECT_GE(seconds, 0.06) << name;
    EXPECT_LE(seconds, 0.09) << name;
    const auto loudest = [&](double from, double to) {
      int level = 0;
      for (auto i = static_cast<std::size_t>(from * rate); i < static_cast<std::size_t>(to * rate); ++i) {
        level = std::max(level, std::abs(int{samples[i]}));
      }
      return level;
    };
    EXPECT_GT(loudest(0, 0.01), 3000) << name;
    EXPECT_LT(loudest(0, seconds), 16384) << name;
    EXPECT_LT(loudest(seconds - 0.001, seconds), 30) << name;
    EXPECT_EQ(samples.front(), 0) << name;
  }
  EXPECT_TRUE(cueSamples("Basso", rate).empty());
}

/// What comes out of the server's one output, from the moment of its making on.
class Ear {
 public:
  Ear()
      : recorder_({"sh", "-c",
                   "exec parec --device=speaker.monitor --raw --format=s16le --rate=48000 --channels=1 "
                   "--latency-msec=10 > " +
                       file_.string()}) {}

  bool isListening() const { return !samples().empty(); }

  int loudest() const {
    int level = 0;
    for (auto sample : samples()) level = std::max(level, std::abs(int{sample}));
    return level;
  }

 private:
  std::vector<std::int16_t> samples() const {
    std::ifstream in(file_, std::ios::binary);
    std::vector<char> bytes{std::istreambuf_iterator<char>(in), {}};
    std::vector<std::int16_t> samples(bytes.size() / 2);
    if (!samples.empty()) std::memcpy(samples.data(), bytes.data(), samples.size() * 2);
    return samples;
  }

  TemporaryDirectory directory_;
  std::filesystem::path file_ = directory_.path() / "heard";
  AppProcess recorder_;
};

class PulseSoundPlayerTest : public ::testing::Test {
 protected:
  bool becomes(const std::function<bool()>& condition) { return loop.runUntil(condition, Seconds(10)); }
  static bool streams() { return outputOf({"pactl", "list", "short", "sink-inputs"}) != ""; }

  void expectToHear(PulseSoundPlayer& player, const char* name) {
    Ear ear;
    ASSERT_TRUE(becomes([&] { return ear.isListening(); }));
    player.play(name);
    EXPECT_TRUE(becomes([&] { return ear.loudest() > 1500; })) << name;
    EXPECT_TRUE(becomes([&] { return !streams(); })) << "a stream stays behind " << name;
  }

  RealLoop loop;
  SoundServer server;
};

TEST_F(PulseSoundPlayerTest, PlaysBothCuesAndLeavesNoStream) {
  PulseSoundPlayer player;
  expectToHear(player, "Tink");
  expectToHear(player, "Pop");
  Ear ear;
  ASSERT_TRUE(becomes([&] { return ear.isListening(); }));
  player.play("Basso");
  loop.runFor(Seconds(0.5));
  EXPECT_EQ(ear.loudest(), 0);
}

TEST_F(PulseSoundPlayerTest, NeverBlocksAndComesBackWithTheServer) {
  PulseSoundPlayer player;
  expectToHear(player, "Tink");
  const auto playMany = [&] {
    const auto start = loop.now();
    for (int round = 0; round < 50; ++round) player.play("Pop");
    EXPECT_LT(Seconds(loop.now() - start).count(), 0.1);
  };
  server.hang();
  playMany();
  server.resume();
  EXPECT_TRUE(becomes([] { return !streams(); }));
  server.end();
  playMany();
  server.begin();
  expectToHear(player, "Tink");
}

}  // namespace
}  // namespace pell::testing
