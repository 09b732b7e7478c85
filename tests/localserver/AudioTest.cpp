// Sound in: decoding, silence, and where speech is cut.
#include <cmath>
#include <cstdlib>
#include <gtest/gtest.h>
#include <numeric>
#include <random>

#include "SoundFile.h"
#include "localserver/ApiError.h"
#include "localserver/AudioDecoder.h"

namespace pell::localserver {
namespace {

double loudness(const Pcm& samples) {
  double sum = 0;
  for (const double sample : samples) sum += sample * sample;
  return std::sqrt(sum / static_cast<double>(samples.size()));
}

std::string refusalOf(const std::string& file) {
  try {
    decodeAudio(file, {});
    return "none";
  } catch (const Refusal& refusal) {
    return refusal.error().code;
  }
}

class AudioTest : public ::testing::Test {
 protected:
  AudioTest() { quietAudioLibrary(); }
};

TEST_F(AudioTest, DecodesToTheSameSound) {
  const Pcm original = tone(2);
  const std::pair<const char*, const char*> kinds[] = {
      {"mp4", "aac"},     {"adts", "aac"},      {"ipod", "alac"},     {"mp3", "libmp3lame"},
      {"ogg", "libopus"}, {"ogg", "libvorbis"}, {"webm", "libopus"},  {"webm", "libvorbis"},
      {"flac", "flac"},   {"ogg", "flac"},      {"wav", "pcm_s16le"}, {"wav", "pcm_f32le"},
      {"wav", "pcm_alaw"}};
  for (const auto& [container, encoder] : kinds) {
    const Pcm decoded = decodeAudio(soundFile(container, encoder, original), {});
    EXPECT_NEAR(secondsOf(decoded), 2.0, 0.2) << container << " " << encoder;
    EXPECT_NEAR(loudness(decoded), loudness(original), 600) << container << " " << encoder;
  }
  EXPECT_EQ(decodeAudio(wavFile(original), {}), original);
}

TEST_F(AudioTest, ResamplesOtherRates) {
  std::string file = wavFile(tone(1));
  const std::uint32_t rate = 8'000;
  file.replace(24, 4, reinterpret_cast<const char*>(&rate), 4);
  EXPECT_NEAR(secondsOf(decodeAudio(file, {})), 2.0, 0.05);
}

TEST_F(AudioTest, WhatIsNoSoundIsRefused) {
  std::mt19937 random(7);
  std::string noise(40'000, '\0');
  for (char& byte : noise) byte = static_cast<char>(random());
  const std::string mp4 = mp4File(tone(1));
  std::string slow = wavFile(tone(1));
  slow.replace(24, 4, std::string("\1\0\0\0", 4));
  std::string rare = wavFile(Pcm(speechRate));
  rare.replace(20, 2, std::string("\x11\0", 2));      // IMA ADPCM
  rare.replace(32, 4, std::string("\0\x1\x4\0", 4));  // in blocks of 256 bytes, 4 bits a sample
  const std::pair<const char*, std::string> files[] = {
      {"nothing", ""},
      {"one byte", "x"},
      {"text", "hello there, this is a letter"},
      {"noise", noise},
      {"the head of a recording", mp4.substr(0, 64)},
      {"a recording cut short", mp4.substr(0, mp4.size() / 2)},
      {"a sound file without sound", wavFile({})},
      {"one sample a second", slow},
      {"a decoder that no recorder needs", rare},
      {"a playlist", "#EXTM3U\n#EXTINF:1,\nfile:///etc/passwd\n#EXT-X-ENDLIST\n"},
      {"a list of files", "ffconcat version 1.0\nfile /etc/passwd\n"},
      {"a session description", "v=0\no=- 0 0 IN IP4 127.0.0.1\nm=audio 9 RTP/AVP 0\n"},
  };
  for (const auto& [name, file] : files) EXPECT_EQ(refusalOf(file), "BAD_AUDIO") << name;
}

TEST_F(AudioTest, DamagedRecordingsNeverBreakTheDecoder) {
  const std::string good = mp4File(tone(1));
  std::mt19937 random(11);
  for (int round = 0; round < 300; ++round) {
    std::string file = good;
    for (int i = 0; i < 1 + round % 20; ++i) file[random() % file.size()] = static_cast<char>(random());
    refusalOf(file);
  }
}

TEST_F(AudioTest, ARecordingPastTheLimitIsRefused) {
  // Says 16,000 Hz and 16 bits, holds silence; 31 minutes of it.
  EXPECT_EQ(refusalOf(wavFile(Pcm(std::size_t{31} * 60 * speechRate))), "AUDIO_TOO_LONG");
  std::stop_source stopped;
  stopped.request_stop();
  EXPECT_THROW(decodeAudio(wavFile(tone(1)), stopped.get_token()), Refusal);
}

/// Bursts of noise at a speaker's level with a soft noise between them.
Pcm bursts(const std::vector<std::pair<double, double>>& secondsOfSoundAndPause) {
  std::mt19937 random(3);
  Pcm samples;
  const auto add = [&](double seconds, int level) {
    for (int i = 0; i < seconds * speechRate; ++i) {
      samples.push_back(static_cast<std::int16_t>(static_cast<int>(random() % (2 * level + 1)) - level));
    }
  };
  for (const auto& [sound, pause] : secondsOfSoundAndPause) {
    add(sound, 6000);
    add(pause, 60);
  }
  return samples;
}

Pcm withSilentStart(const Pcm& samples) {
  Pcm result(speechRate);
  result.insert(result.end(), samples.begin(), samples.end());
  return result;
}

TEST_F(AudioTest, SilenceAndSteadyNoiseHoldNoSpeech) {
  EXPECT_TRUE(isSilent(Pcm(speechRate)));
  EXPECT_TRUE(isSilent({}));
  EXPECT_TRUE(isSilent(decodeAudio(mp4File(Pcm(speechRate)), {})));
  EXPECT_FALSE(isSilent(bursts({{0.3, 5}})));
  EXPECT_TRUE(speechPieces({}).empty());
  EXPECT_TRUE(speechPieces(Pcm(speechRate)).empty());
  EXPECT_TRUE(speechPieces(tone(5)).empty());
  EXPECT_TRUE(speechPieces(bursts({{0, 10}})).empty());
}

TEST_F(AudioTest, PiecesHoldAllSpeechAndNoneIsLong) {
  const std::pair<const char*, Pcm> recordings[] = {
      {"one word", bursts({{0, 3}, {0.5, 4}})},
      {"sentences", bursts({{4, 0.7}, {3, 0.6}, {6, 1}, {2, 0.5}, {7, 0.8}})},
      {"short pauses only", bursts(std::vector<std::pair<double, double>>(60, {0.8, 0.2}))},
      {"no pause at all", bursts({{0, 1}, {50, 1}})},
      {"a microphone that wakes late", withSilentStart(bursts({{0, 1}, {3, 1}, {2, 0.7}}))},
      {"a voice cut out of silence", withSilentStart(bursts({{2, 0}}))},
      {"starts and ends in speech", bursts({{3, 0.8}, {3, 0}})},
  };
  for (const auto& [name, samples] : recordings) {
    const auto pieces = speechPieces(samples);
    ASSERT_FALSE(pieces.empty()) << name;
    std::size_t end = 0;
    std::vector<bool> covered(samples.size());
    for (const Piece& piece : pieces) {
      EXPECT_GE(piece.begin, end) << name << ": pieces overlap";
      EXPECT_LT(piece.begin, piece.end) << name;
      EXPECT_LE(piece.end, samples.size()) << name;
      EXPECT_LE(piece.end - piece.begin, std::size_t{17} * speechRate) << name;
      end = piece.end;
      std::fill(covered.begin() + static_cast<std::ptrdiff_t>(piece.begin),
                covered.begin() + static_cast<std::ptrdiff_t>(piece.end), true);
    }
    for (std::size_t i = 0; i < samples.size(); ++i) {
      ASSERT_TRUE(covered[i] || std::abs(samples[i]) <= 60) << name << ": speech lost at " << i;
    }
  }
}

TEST_F(AudioTest, ALongDictationGivesEveryCoreWork) {
  EXPECT_GE(speechPieces(bursts({{6, 0.6}, {6, 0.6}, {6, 0.6}, {6, 0.6}})).size(), 4u);
}

}  // namespace
}  // namespace pell::localserver
