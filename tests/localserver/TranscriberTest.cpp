// The three ways from sound to words.
#include <cstdio>
#include <fstream>
#include <gtest/gtest.h>
#include <thread>
#include <unistd.h>

#include "ScriptedService.h"
#include "SoundFile.h"
#include "localserver/AudioDecoder.h"
#include "localserver/CommandTranscriber.h"
#include "localserver/Listen.h"
#include "localserver/RemoteTranscriber.h"
#include "localserver/SphinxTranscriber.h"
#include "support/TemporaryDirectory.h"

namespace pell::localserver {
namespace {

using pell::testing::TemporaryDirectory;

using std::chrono::milliseconds;

/// What the transcriber makes of the samples; a failure's text in brackets.
std::string words(Transcriber& transcriber, const Pcm& samples, const std::stop_token& stop = {}) {
  const std::string original = "the original";
  const std::string mediaType = "audio/mp4";
  const std::string language = "en";
  try {
    return transcriber
        .transcribe({.samples = samples,
                     .original = original,
                     .mediaType = mediaType,
                     .language = language,
                     .stop = stop})
        .text;
  } catch (const TranscriberFailure& failure) {
    return "[" + std::string(failure.what()) + "]";
  }
}

TEST(CommandTranscriber, TextOrFailure) {
  const Pcm second = tone(1);
  struct {
    const char* command;
    const char* expected;
  } const rows[] = {
      {"cat >/dev/null; echo hello", "hello\n"},
      {"echo deaf", "deaf\n"},
      {"wc -c | tr -d ' '", "32044\n"},
      {"head -c 4", "RIFF"},
      {"echo $PELL_LANGUAGE; echo noise >&2", "en\n"},
      {"true", ""},
      {"sleep 60 & echo early", "early\n"},
      {"exec 0<&- 1>&-; exit 3", "[The command ended with status 3.]"},
      {"echo no; false", "[The command ended with status 1.]"},
      {"kill -9 $$", "[The command ended with status -1.]"},
      {"/does/not/exist", "[The command ended with status 127.]"},
      {"yes", "[The command wrote too much.]"},
  };
  for (const auto& row : rows) {
    CommandTranscriber transcriber(row.command, milliseconds(30'000));
    EXPECT_EQ(words(transcriber, second), row.expected) << row.command;
  }
}

/// Whether the process is gone, or a zombie that nobody has taken in yet.
bool hasEnded(pid_t process) {
  std::string name;
  std::string state;
  std::ifstream status("/proc/" + std::to_string(process) + "/stat");
  status >> name >> name >> state;
  return state.empty() || state == "Z" || state == "X";
}

TEST(CommandTranscriber, EndsInTimeWithAllThatItStarted) {
  const TemporaryDirectory directory;
  const auto pid = directory.path() / "pid";
  CommandTranscriber slow("sleep 600 & echo $! > " + pid.string() + "; wait", milliseconds(1500));
  EXPECT_EQ(words(slow, tone(1)), "[The command took too long.]");
  pid_t grandchild = 0;
  std::ifstream(pid) >> grandchild;
  ASSERT_GT(grandchild, 0);
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
  while (!hasEnded(grandchild) && std::chrono::steady_clock::now() < deadline) std::this_thread::yield();
  EXPECT_TRUE(hasEnded(grandchild));

  std::stop_source source;
  source.request_stop();
  CommandTranscriber stopped("sleep 600", milliseconds(60'000));
  EXPECT_EQ(words(stopped, tone(1), source.get_token()), "[The command was stopped.]");
}

TEST(CommandTranscriber, ManyAtOnceAreNotMixedUp) {
  CommandTranscriber transcriber("wc -c | tr -d ' \\n'", milliseconds(30'000));
  std::vector<std::thread> threads;
  for (int i = 1; i <= 8; ++i) {
    threads.emplace_back([&transcriber, i] {
      const Pcm samples(static_cast<std::size_t>(i) * 1000);
      EXPECT_EQ(words(transcriber, samples), std::to_string(44 + i * 2000));
    });
  }
  for (auto& thread : threads) thread.join();
}

TEST(RemoteTranscriber, AsksAndReadsTheReply) {
  ScriptedService service("/v1/audio/transcriptions");
  RemoteTranscriber transcriber({.url = service.url, .model = "small", .key = "k-123"});
  service.reply.body = R"({"text":" Hello there. "})";
  EXPECT_EQ(words(transcriber, tone(1)), " Hello there. ");
  EXPECT_EQ(service.last.head.method, "POST");
  EXPECT_EQ(service.last.head.path, "/v1/audio/transcriptions");
  EXPECT_EQ(service.last.head.bearerToken, "k-123");
  EXPECT_EQ(service.last.head.contentType, "multipart/form-data");
  for (const char* part : {"name=\"model\"\r\n\r\nsmall\r\n", "name=\"language\"\r\n\r\nen\r\n",
                           "filename=\"speech.wav\"\r\nContent-Type: audio/wav\r\n\r\nRIFF"}) {
    EXPECT_NE(service.last.body.find(part), std::string::npos) << part;
  }
  // Where the WAV would be too large, the original goes.
  EXPECT_EQ(words(transcriber, Pcm(std::size_t{14} * 60 * speechRate)), " Hello there. ");
  EXPECT_NE(service.last.body.find("filename=\"speech.m4a\"\r\nContent-Type: audio/mp4\r\n\r\nthe original"),
            std::string::npos);
}

TEST(RemoteTranscriber, EveryBadReplyIsAFailure) {
  ScriptedService service("/v1/audio/transcriptions");
  RemoteTranscriber transcriber({.url = service.url, .model = "small", .key = std::nullopt});
  const HttpReply replies[] = {{.status = 500, .body = "{\"text\":\"no\"}", .headers = {}},
                               {.status = 302, .body = "{}", .headers = {{"Location", "/elsewhere"}}},
                               {.status = 200, .body = "<html>", .headers = {}},
                               {.status = 200, .body = "{}", .headers = {}},
                               {.status = 200, .body = "{\"text\":7}", .headers = {}},
                               {.status = 200, .body = std::string(5u << 20, ' '), .headers = {}}};
  for (const HttpReply& reply : replies) {
    service.reply = reply;
    EXPECT_TRUE(words(transcriber, tone(0.1)).starts_with("[The transcription service"))
        << reply.body.substr(0, 40);
  }
  const ListenSocket silent = listenOn("127.0.0.1", 0);
  RemoteTranscriber slow({.url = "http://127.0.0.1:" + std::to_string(silent.port),
                          .model = "m",
                          .key = std::nullopt,
                          .limit = std::chrono::seconds(1)});
  EXPECT_TRUE(words(slow, tone(0.1)).starts_with("[The transcription service"))
      << "a service that never answers";
  close(silent.descriptor);
}

/// A sentence spoken by the speech synthesiser.
Pcm spoken(const std::string& sentence) {
  const TemporaryDirectory directory;
  const auto file = directory.path() / "speech.wav";
  const std::string command = "flite -voice rms -t '" + sentence + "' -o " + file.string();
  if (std::system(command.c_str()) != 0) throw std::runtime_error("flite is not installed");
  std::ifstream stream(file, std::ios::binary);
  const std::string bytes{std::istreambuf_iterator<char>(stream), {}};
  return decodeAudio(bytes, {});
}

TEST(SphinxTranscriber, UnderstandsPlainSentencesOfSeveralSpeakersAtOnce) {
  SphinxTranscriber transcriber(SphinxTranscriber::installedModel(), 2);
  const std::string sentences[] = {"please remember to buy milk and bread on the way home",
                                   "the weather is nice today and we are going to the park with the children",
                                   "can you tell me where the nearest station is"};
  std::vector<std::thread> threads;
  for (const std::string& sentence : sentences) {
    threads.emplace_back([&] { EXPECT_EQ(words(transcriber, spoken(sentence)), sentence); });
  }
  for (auto& thread : threads) thread.join();

  Pcm both = spoken(sentences[0]);
  both.resize(both.size() + 2 * speechRate);
  const Pcm second = spoken(sentences[2]);
  both.insert(both.end(), second.begin(), second.end());
  EXPECT_EQ(words(transcriber, both), sentences[0] + " " + sentences[2]) << "joined in order";
  EXPECT_EQ(words(transcriber, tone(2)), "");
  std::stop_source source;
  source.request_stop();
  EXPECT_TRUE(words(transcriber, both, source.get_token()).starts_with("["));
}

TEST(SphinxTranscriber, AModelThatIsMissingOrDamagedIsExplained) {
  EXPECT_THROW(SphinxTranscriber("/nowhere", 1), TranscriberFailure);
  const TemporaryDirectory directory;
  std::filesystem::create_directory(directory.path() / "en-us");
  for (const char* file : {"en-us/mdef", "en-us.lm.bin", "cmudict-en-us.dict"}) {
    std::ofstream(directory.path() / file) << "damaged";
  }
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  const auto use = [&] {
    SphinxTranscriber damaged(directory.path(), 2);
    Pcm samples(speechRate);  // quiet, then loud, so that there is something to recognise
    samples.resize(2 * speechRate, 9000);
    words(damaged, samples);
  };
  EXPECT_EXIT(use(), ::testing::ExitedWithCode(1), "model may be damaged");
}

}  // namespace
}  // namespace pell::localserver
