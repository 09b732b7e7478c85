#include <cmath>
#include <fmt/format.h>

#include "localserver/Achievements.h"

namespace pell::localserver {
namespace {

std::string durationLabel(std::int64_t seconds) {
  const bool hours = seconds >= 3600;
  const auto count = std::llround(static_cast<double>(seconds) / (hours ? 3600 : 60));
  return fmt::format("{} {}{}", count, hours ? "hour" : "minute", count == 1 ? "" : "s");
}

struct WordRung {
  std::int64_t threshold;
  const char* title;
  const char* blurb;
  const char* icon;
};

constexpr WordRung rungs[] = {
    {1, "First Word", "Your first dictation. It starts here.", "sparkles"},
    {100, "Talker", "A hundred words spoken into being.", "bubble.left.fill"},
    {1'000, "Speaker", "A thousand words. You are getting comfortable.", "waveform"},
    {5'000, "Storyteller", "Five thousand words. A long article, spoken.", "book.fill"},
    {10'000, "Orator", "Ten thousand words. This is a habit now.", "megaphone.fill"},
    {25'000, "Rhetorician", "Twenty-five thousand. A short book of speech.", "quote.bubble.fill"},
    {50'000, "Wordsmith", "Fifty thousand words shaped out loud.", "hammer.fill"},
    {75'000, "Elocutionist", "Seventy-five thousand, and every one of them clear.", "music.mic"},
    {100'000, "Master Orator", "One hundred thousand words. Few people talk this much on purpose.",
     "crown.fill"},
    {200'000, "Laureate", "Two hundred thousand words of dictated thought.", "rosette"},
    {500'000, "Bard", "Half a million. You could have spoken an epic.", "guitars.fill"},
    {1'000'000, "Voice of Legend", "A million words. Genuinely remarkable.", "star.circle.fill"},
    {2'000'000, "Grand Orator", "Two million words.", "flame.fill"},
    {5'000'000, "Silver Tongue", "Five million words.", "bolt.circle.fill"},
    {10'000'000, "Immortal Voice", "Ten million words. We did not plan this far.", "trophy.fill"},
};

constexpr std::int64_t spans[] = {60,      600,     1'800,   3'600,     18'000,    36'000,   90'000,
                                  180'000, 360'000, 900'000, 1'800'000, 3'600'000, 7'200'000};

}  // namespace

std::vector<Milestone> milestoneCatalogue() {
  std::vector<Milestone> all = {
      {.id = "action.microphone",
       .title = "Microphone on",
       .blurb = "Pell can hear you now.",
       .icon = "mic.circle.fill"},
      {.id = "action.accessibility",
       .title = "Ready everywhere",
       .blurb = "Pell can type into any app on your computer.",
       .icon = "checkmark.seal.fill"},
  };
  for (const WordRung& rung : rungs) {
    all.push_back({.kind = Milestone::Kind::words,
                   .id = fmt::format("words.{}", rung.threshold),
                   .threshold = rung.threshold,
                   .title = rung.title,
                   .blurb = rung.blurb,
                   .icon = rung.icon});
  }
  for (const std::int64_t seconds : spans) {
    const std::string label = durationLabel(seconds);
    all.push_back({.kind = Milestone::Kind::seconds,
                   .id = fmt::format("seconds.{}", seconds),
                   .threshold = seconds,
                   .title = label + " spoken",
                   .blurb = "You have dictated for " + label + " in total.",
                   .icon = "clock.fill"});
  }
  return all;
}

}  // namespace pell::localserver
