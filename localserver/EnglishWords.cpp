#include "localserver/EnglishWords.h"

#include <algorithm>
#include <array>

namespace pell::localserver::english {
namespace {

template <std::size_t size>
bool holds(const std::array<std::string_view, size>& list, std::string_view word) {
  return std::ranges::find(list, word) != list.end();
}

constexpr auto articles = std::to_array<std::string_view>(
    {"a", "an", "the", "my", "your", "our", "their", "every", "each", "another", "missing", "extra", "oxford",
     "serial", "word", "words", "called", "between"});

constexpr auto periodKinds = std::to_array<std::string_view>(
    {"time",       "trial",    "grace",      "notice",     "waiting",      "cooling",  "rest",     "long",
     "short",      "brief",    "extended",   "transition", "probation",    "same",     "whole",    "entire",
     "busy",       "quiet",    "difficult",  "cold",       "warm",         "dry",      "wet",      "holiday",
     "reporting",  "billing",  "accounting", "pay",        "payment",      "review",   "test",     "testing",
     "retention",  "recovery", "incubation", "victorian",  "medieval",     "colonial", "romantic", "baroque",
     "historical", "ice",      "war",        "exam",       "lunch",        "study",    "free",     "class",
     "school",     "year",     "month",      "week",       "day",          "hour",     "minute",   "current",
     "previous",   "next",     "prior",      "following",  "given",        "certain",  "limited",  "comment",
     "warranty",   "refund",   "vesting",    "election",   "sampling",     "base",     "first",    "second",
     "third",      "last",     "early",      "late",       "new",          "growth",   "lock-in",  "contract",
     "tax",        "term",     "holding",    "planning",   "probationary", "trial-run"});

constexpr auto periodEndings = std::to_array<std::string_view>(
    {"of",   "for",    "drama", "dramas",  "piece", "pieces", "costume", "costumes",  "pain",        "pains",
     "from", "during", "in",    "between", "ends",  "ended",  "starts",  "started",   "begins",      "began",
     "is",   "was",    "has",   "had",     "will",  "lasts",  "lasted",  "furniture", "instruments", "when"});

constexpr auto timePrepositions = std::to_array<std::string_view>(
    {"in", "during", "for", "over", "since", "of", "from", "at", "throughout", "after", "before", "until"});

constexpr auto common = std::to_array<std::string_view>(
    {"i",       "i'm",    "i've",  "i'll",      "i'd",     "we",        "we're",    "we've",     "we'll",
     "you",     "you're", "he",    "she",       "it",      "it's",      "they",     "they're",   "this",
     "that",    "these",  "those", "there",     "here",    "here's",    "what",     "what's",    "when",
     "where",   "who",    "why",   "how",       "how's",   "which",     "is",       "are",       "was",
     "were",    "am",     "be",    "do",        "does",    "did",       "don't",    "can",       "can't",
     "could",   "will",   "would", "should",    "shall",   "may",       "might",    "must",      "have",
     "has",     "had",    "the",   "a",         "an",      "my",        "your",     "our",       "his",
     "her",     "their",  "its",   "in",        "on",      "at",        "for",      "to",        "from",
     "of",      "with",   "by",    "about",     "as",      "so",        "if",       "but",       "or",
     "and",     "not",    "no",    "yes",       "just",    "please",    "thanks",   "thank",     "sorry",
     "hope",    "hoping", "quick", "following", "per",     "regarding", "attached", "looking",   "let",
     "let's",   "again",  "me",    "us",        "them",    "today",     "tomorrow", "yesterday", "also",
     "only",    "now",    "then",  "very",      "much",    "great",     "good",     "nice",      "glad",
     "welcome", "send",   "after", "before",    "because", "since",     "while",    "wanted",    "want",
     "need",    "go",     "going", "back"});

constexpr auto addressees =
    std::to_array<std::string_view>({"all", "everyone", "everybody", "team", "folks", "both", "there", "sir",
                                     "madam", "guys", "colleagues", "friends"});

constexpr auto daysAndMonths = std::to_array<std::string_view>(
    {"monday", "tuesday", "wednesday", "thursday", "friday", "saturday", "sunday", "january", "february",
     "april", "june", "july", "september", "october", "november", "december"});

constexpr auto auxiliaries = std::to_array<std::string_view>(
    {"is",    "are",      "was",   "were",     "am",        "do",      "does",    "did",
     "can",   "could",    "will",  "would",    "should",    "shall",   "have",    "has",
     "had",   "may",      "might", "isn't",    "aren't",    "don't",   "doesn't", "didn't",
     "can't", "couldn't", "won't", "wouldn't", "shouldn't", "haven't", "hasn't"});

constexpr auto pronouns = std::to_array<std::string_view>(
    {"i", "you", "he", "she", "it", "we", "they", "there", "this", "that", "anyone", "anybody", "everyone"});

constexpr auto askers =
    std::to_array<std::string_view>({"how", "what", "when", "where", "who", "why", "which", "whose"});

// Beyond this many words an unmarked sentence is most likely several, and its start says nothing of its end.
constexpr std::size_t longestQuestion = 15;

}  // namespace

bool announcesNoun(std::string_view word) { return holds(articles, word); }

bool describesPeriod(std::string_view word) {
  return holds(periodKinds, word) || word.ends_with("'s") || word.ends_with("-year") ||
         word.ends_with("-month") || word.ends_with("-day") || word.ends_with("-week") ||
         word.ends_with("-hour");
}

bool continuesPeriod(std::string_view word) { return holds(periodEndings, word); }

bool isPrepositionOfTime(std::string_view word) { return holds(timePrepositions, word); }

bool isNoName(std::string_view word) { return holds(common, word); }

bool isAddressee(std::string_view word) { return holds(addressees, word); }

bool opensSentence(std::span<const DraftWord> words, std::size_t at) {
  constexpr auto inner = std::to_array<std::string_view>(
      {"of", "to", "by", "with", "be", "me", "us", "them", "back", "go", "going", "and", "or", "much"});
  const std::string key = words[at].key();
  if (holds(inner, key)) return false;
  return !holds(auxiliaries, key) || (at + 1 < words.size() && holds(pronouns, words[at + 1].key()));
}

bool isDayOrMonth(std::string_view word) { return holds(daysAndMonths, word); }

bool isQuestion(std::span<const DraftWord> sentence) {
  if (sentence.size() < 2 || sentence.size() > longestQuestion) return false;
  const std::string first = sentence[0].key();
  const std::string second = sentence[1].key();
  if (isMarked(sentence[0])) return false;
  if (holds(askers, first)) {
    // "Which is why ..." tells.
    return (holds(auxiliaries, second) && first != "which") || (second == "about" && first != "which");
  }
  return holds(auxiliaries, first) && holds(pronouns, second);
}

}  // namespace pell::localserver::english
