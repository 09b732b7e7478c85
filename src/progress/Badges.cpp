#include "progress/Badges.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <fmt/format.h>

namespace pell {
namespace {

using Milestone = Badges::Milestone;
using Kind = Milestone::Kind;

struct Row {
  const char* id;
  std::int64_t threshold;
  const char* title;
  const char* blurb;
  const char* icon;
};

constexpr std::array actionRows{
    Row{"action.microphone", 0, "Microphone on", "Pell can hear you now.", "mic.circle.fill"},
    Row{"action.accessibility", 0, "Ready everywhere", "Pell can type into any app on your Mac.",
        "checkmark.seal.fill"},
};

constexpr std::array ladder{
    Row{"words.1", 1, "First Word", "Your first dictation. It starts here.", "sparkles"},
    Row{"words.100", 100, "Talker", "A hundred words spoken into being.", "bubble.left.fill"},
    Row{"words.1000", 1000, "Speaker", "A thousand words. You are getting comfortable.", "waveform"},
    Row{"words.5000", 5000, "Storyteller", "Five thousand words. A long article, spoken.", "book.fill"},
    Row{"words.10000", 10000, "Orator", "Ten thousand words. This is a habit now.", "megaphone.fill"},
    Row{"words.25000", 25000, "Rhetorician", "Twenty-five thousand. A short book of speech.",
        "quote.bubble.fill"},
    Row{"words.50000", 50000, "Wordsmith", "Fifty thousand words shaped out loud.", "hammer.fill"},
    Row{"words.75000", 75000, "Elocutionist", "Seventy-five thousand, and every one of them clear.",
        "music.mic"},
    Row{"words.100000", 100000, "Master Orator",
        "One hundred thousand words. Few people talk this much on purpose.", "crown.fill"},
    Row{"words.200000", 200000, "Laureate", "Two hundred thousand words of dictated thought.", "rosette"},
    Row{"words.500000", 500000, "Bard", "Half a million. You could have spoken an epic.", "guitars.fill"},
    Row{"words.1000000", 1000000, "Voice of Legend", "A million words. Genuinely remarkable.",
        "star.circle.fill"},
    Row{"words.2000000", 2000000, "Grand Orator", "Two million words.", "flame.fill"},
    Row{"words.5000000", 5000000, "Silver Tongue", "Five million words.", "bolt.circle.fill"},
    Row{"words.10000000", 10000000, "Immortal Voice", "Ten million words. We did not plan this far.",
        "trophy.fill"},
};

constexpr std::array<std::int64_t, 13> secondsSpoken{60,     600,    1800,   3600,    18000,   36000,  90000,
                                                     180000, 360000, 900000, 1800000, 3600000, 7200000};

Milestone milestoneOf(Kind kind, const Row& row, int rank) {
  return {.kind = kind,
          .id = row.id,
          .threshold = row.threshold,
          .title = row.title,
          .blurb = row.blurb,
          .icon = row.icon,
          .rank = rank};
}

Milestone milestoneOfSeconds(std::int64_t seconds) {
  const std::string label = Badges::durationLabel(seconds);
  return {.kind = Kind::seconds,
          .id = fmt::format("seconds.{}", seconds),
          .threshold = seconds,
          .title = label + " spoken",
          .blurb = "You have dictated for " + label + " in total.",
          .icon = "clock.fill"};
}

}  // namespace

const std::vector<Milestone>& Badges::actions() {
  static const std::vector<Milestone> list = [] {
    std::vector<Milestone> made;
    for (const Row& row : actionRows) made.push_back(milestoneOf(Kind::action, row, 0));
    return made;
  }();
  return list;
}

const std::vector<Milestone>& Badges::badges() {
  static const std::vector<Milestone> list = [] {
    std::vector<Milestone> made;
    for (const Row& row : ladder) {
      made.push_back(milestoneOf(Kind::words, row, static_cast<int>(made.size()) + 1));
    }
    return made;
  }();
  return list;
}

const std::vector<Milestone>& Badges::timeMilestones() {
  static const std::vector<Milestone> list = [] {
    std::vector<Milestone> made;
    std::ranges::transform(secondsSpoken, std::back_inserter(made), milestoneOfSeconds);
    return made;
  }();
  return list;
}

const std::vector<Milestone>& Badges::all() {
  static const std::vector<Milestone> list = [] {
    std::vector<Milestone> made = actions();
    made.insert(made.end(), badges().begin(), badges().end());
    made.insert(made.end(), timeMilestones().begin(), timeMilestones().end());
    return made;
  }();
  return list;
}

std::optional<Milestone> Badges::milestone(std::string_view id) {
  const auto found = std::ranges::find(all(), id, &Milestone::id);
  return found == all().end() ? std::nullopt : std::optional(*found);
}

std::optional<Milestone> Badges::badge(std::int64_t forWords) {
  const auto above = std::ranges::upper_bound(badges(), forWords, {}, &Milestone::threshold);
  return above == badges().begin() ? std::nullopt : std::optional(*std::prev(above));
}

std::optional<Milestone> Badges::nextBadge(std::int64_t afterWords) {
  const auto above = std::ranges::upper_bound(badges(), afterWords, {}, &Milestone::threshold);
  return above == badges().end() ? std::nullopt : std::optional(*above);
}

double Badges::progress(std::int64_t words) {
  const auto next = nextBadge(words);
  if (!next) return 1.0;
  return std::clamp(static_cast<double>(words) / static_cast<double>(next->threshold), 0.0, 1.0);
}

std::string Badges::durationLabel(std::int64_t seconds) {
  const bool hours = seconds >= 3600;
  const double number = std::round(static_cast<double>(seconds) / (hours ? 3600 : 60));
  return fmt::format("{:.0f} {}{}", number, hours ? "hour" : "minute", number == 1 ? "" : "s");
}

std::string Badges::fingerprint() {
  std::vector<std::string> rows;
  for (const Milestone& rung : badges()) {
    rows.push_back(fmt::format("{}:{}:{}", rung.id, rung.threshold, rung.title));
  }
  return fmt::format("{}", fmt::join(rows, "|"));
}

std::string_view rawValue(Kind kind) {
  switch (kind) {
    case Kind::action:
      return "action";
    case Kind::words:
      return "words";
    case Kind::seconds:
      break;
  }
  return "seconds";
}

std::string blurb(const Milestone& milestone, const Words& words) { return words(milestone.blurb); }

}  // namespace pell
