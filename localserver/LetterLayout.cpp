#include "localserver/LetterLayout.h"

#include <algorithm>
#include <array>
#include <optional>

#include "localserver/EnglishWords.h"

namespace pell::localserver {
namespace {

constexpr std::size_t mostNames = 4;
// The words of the longest sign-off.
constexpr std::size_t longestSignOff = 4;

constexpr auto greetings = std::to_array<std::string_view>(
    {"hi there", "hello there", "hey there", "good morning", "good afternoon", "good evening", "dear",
     "hello", "hi", "hey", "greetings", "नमस्ते", "प्रिय"});

struct SignOff {
  std::string_view words;
  bool sure;  // ends a letter even where no sentence ended before it
};
// Of two that begin alike the longer comes first.
constexpr auto signOffs = std::to_array<SignOff>({
    {"with kind regards", true},
    {"with best regards", true},
    {"with best wishes", true},
    {"kindest regards", true},
    {"kind regards", true},
    {"best regards", true},
    {"warm regards", true},
    {"yours sincerely", true},
    {"yours faithfully", true},
    {"yours truly", true},
    {"best wishes", false},
    {"all the best", false},
    {"many thanks", false},
    {"thanks again", false},
    {"thanks in advance", false},
    {"thank you very much", false},
    {"thank you so much", false},
    {"thank you", false},
    {"thanks", false},
    {"sincerely", false},
    {"regards", false},
    {"cheers", false},
    {"best", false},
    {"धन्यवाद", false},
});

constexpr auto particles = std::to_array<std::string_view>(
    {"and", "or", "von", "van", "de", "der", "den", "la", "le", "da", "di", "al", "bin", "sir", "madam"});

/// The index behind the phrase that stands at `at` with nothing between its words.
std::optional<std::size_t> behind(std::string_view phrase, const DraftWords& words, std::size_t at) {
  for (std::size_t i = at; i < words.size(); ++i) {
    const std::string key = words[i].key();
    if ((i > at && words[i].gap != Gap::blank) || !words[i].lead.empty() || !phrase.starts_with(key))
      return {};
    phrase.remove_prefix(key.size());
    if (phrase.empty()) return i + 1;
    if (!phrase.starts_with(' ') || !words[i].tail.empty() || key.empty()) return {};
    phrase.remove_prefix(1);
  }
  return {};
}

void capitaliseName(DraftWord& word) {
  const std::string key = word.key();
  if (english::isAddressee(key) || std::ranges::find(particles, key) != particles.end()) return;
  capitalise(word);
}

void endWithComma(DraftWord& word) {
  if (word.tail.empty() || word.tail == ".") word.tail = ",";
}

/// Whether something is set off after words[at]: by a mark or by the end of the line.
bool closes(const DraftWords& words, std::size_t at) {
  const std::string& tail = words[at].tail;
  return tail == "," || tail == "." || tail == "!" || tail == ":" ||
         (at + 1 < words.size() && words[at + 1].gap >= Gap::line);
}

/// Where the names that follow a greeting end: at a mark, or where a sentence begins.
std::optional<std::size_t> endOfNames(const DraftWords& words, std::size_t first) {
  if (closes(words, first - 1)) return first;
  for (std::size_t at = first; at < words.size() && at <= first + mostNames; ++at) {
    const std::string key = words[at].key();
    const bool between = at > first && (key == "and" || key == "or");
    if (english::isNoName(key) && !between) {
      return english::opensSentence(words, at) ? std::optional(at) : std::nullopt;
    }
    if (at == first + mostNames || !words[at].lead.empty() || words[at].core.empty()) break;
    const bool title = key == "mr" || key == "mrs" || key == "ms" || key == "dr" || key == "prof";
    const bool goesOn = at + 1 < words.size() && words[at + 1].gap == Gap::blank && !words[at + 1].marker;
    if (title && goesOn && (words[at].tail.empty() || words[at].tail == ".")) continue;
    if (closes(words, at)) return at + 1;
    if (!words[at].tail.empty()) break;
  }
  const bool group = first < words.size() && english::isAddressee(words[first].key());
  return group && words[first].tail.empty() ? std::optional(first + 1) : std::nullopt;
}

/// The index behind the greeting; 0 where there is none.
std::size_t layOutGreeting(DraftWords& words) {
  for (const std::string_view greeting : greetings) {
    const auto first = behind(greeting, words, 0);
    if (!first) continue;
    const std::string& tail = words[*first - 1].tail;
    if (!tail.empty() && !closes(words, *first - 1)) return 0;
    const auto end = endOfNames(words, *first);
    // Without names "dear" is a word like any other, and without a text there is no letter.
    if (!end || *end >= words.size() || (*end == *first && (greeting == "dear" || greeting == "प्रिय")))
      return 0;
    for (std::size_t at = *first; at < *end; ++at) capitaliseName(words[at]);
    endWithComma(words[*end - 1]);
    words[*end].gap = Gap::paragraph;
    return *end;
  }
  return 0;
}

/// Whether the words from `at` on can be who signs.
bool areNames(const DraftWords& words, std::size_t at) {
  if (words.size() - at > mostNames) return false;
  for (; at < words.size(); ++at) {
    const DraftWord& word = words[at];
    const std::string key = word.key();
    const bool last = at + 1 == words.size();
    if (word.core.empty() || !word.lead.empty() || english::isNoName(key) || english::isAddressee(key))
      return false;
    if (!word.tail.empty() && word.tail != "," && !(last && word.tail == ".")) return false;
  }
  return true;
}

/// The index behind the sign-off's phrase, if one begins at `at`.
std::optional<std::size_t> signOffAt(const DraftWords& words, std::size_t at) {
  for (const SignOff& known : signOffs) {
    const auto end = behind(known.words, words, at);
    if (!end) continue;
    const bool start = words[at].gap >= Gap::line || endsSentence(words[at - 1]);
    const std::string before = words[at - 1].tail.empty() ? words[at - 1].key() : "";
    if (!start && (!known.sure || english::announcesNoun(before) || before == "and" || before == "with"))
      continue;
    const std::string& tail = words[*end - 1].tail;
    if (!tail.empty() && !closes(words, *end - 1)) continue;
    // "Thanks Ann" is said to Ann; "thanks, Ann" is signed.
    const bool signedApart = *end == words.size() || known.sure || closes(words, *end - 1);
    if (signedApart && areNames(words, *end)) return end;
  }
  return {};
}

}  // namespace

std::size_t layOutLetter(DraftWords& words) {
  const std::size_t body = words.empty() ? 0 : layOutGreeting(words);
  const std::size_t reach = mostNames + longestSignOff;
  const std::size_t earliest = words.size() > reach ? words.size() - reach : 0;
  for (std::size_t at = std::max({earliest, body + 1, std::size_t{1}}); at < words.size(); ++at) {
    const auto end = signOffAt(words, at);
    if (!end) continue;
    if (words[at - 1].tail == ",") words[at - 1].tail.clear();
    words[at].gap = Gap::paragraph;
    endWithComma(words[*end - 1]);
    for (std::size_t name = *end; name < words.size(); ++name) {
      if (name == *end) words[name].gap = Gap::line;
      capitaliseName(words[name]);
    }
    if (*end < words.size() && words.back().tail == ".") words.back().tail.clear();
    return at;
  }
  return words.size();
}

}  // namespace pell::localserver
