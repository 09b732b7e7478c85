#include "localserver/RuleCleaner.h"

#include <algorithm>
#include <array>

#include "localserver/DraftWords.h"
#include "localserver/EnglishWords.h"
#include "localserver/LetterLayout.h"
#include "localserver/SentenceLayout.h"
#include "localserver/SpokenMarks.h"
#include "localserver/Text.h"

namespace pell::localserver {
namespace {

constexpr auto fillers =
    std::to_array<std::string_view>({"um", "umm", "ummm", "uh", "uhh", "uhhh", "uhm", "uhmm", "er", "erm"});

/// Recognisers break lines wherever a stretch of sound ended. A line that goes on in lower case, with no mark
/// before it, is such a one: all others begin with a capital once they are clean.
void joinBrokenLines(DraftWords& words, const Manner& manner) {
  for (std::size_t at = 1; at < words.size(); ++at) {
    DraftWord& word = words[at];
    if (word.gap < Gap::line) continue;
    if (manner.lines == Lines::one) word.gap = Gap::blank;
    if (manner.lines == Lines::single) word.gap = Gap::line;
    if (word.gap == Gap::line && words[at - 1].tail.empty() && takesCapital(word)) word.gap = Gap::blank;
  }
}

/// "Um", but not the ER, the word "um", or what "uh-huh" and "uh oh" begin with.
bool isFiller(const DraftWords& words, std::size_t at, const DraftWord* before) {
  const DraftWord& word = words[at];
  const std::string key = word.key();
  if (!word.lead.empty() || std::ranges::find(fillers, key) == fillers.end()) return false;
  if (word.core != key && ((key == "er" && word.tail != ",") || word.core.substr(1) != key.substr(1)))
    return false;
  if (word.tail.find_first_not_of(".,!?;:-") != std::string::npos && word.tail != "…" && word.tail != "।") {
    return false;
  }
  if (before && word.gap == Gap::blank && before->tail.empty()) {
    std::string last = before->key();
    last.erase(0, last.find_last_of("-/_#") + 1);
    if (last == "word" || last == "words" || last == "filler") return false;
    if (key == "er" && english::announcesNoun(last)) return false;
  }
  const bool goesOn = at + 1 < words.size() && words[at + 1].gap == Gap::blank && word.tail.empty();
  std::string next = goesOn && key == "uh" ? words[at + 1].key() : "";
  next.erase(std::min(next.find_first_of("-/_"), next.size()));
  return next != "huh" && next != "oh";
}

DraftWords withoutFillers(DraftWords words) {
  DraftWords done;
  Gap gap = Gap::none;
  for (std::size_t at = 0; at < words.size(); ++at) {
    DraftWord& word = words[at];
    DraftWord* before = done.empty() ? nullptr : &done.back();
    word.gap = before ? std::max(word.gap, gap) : Gap::none;
    gap = Gap::none;
    if (!isFiller(words, at, before)) {
      done.push_back(std::move(word));
      continue;
    }
    gap = word.gap;
    // The sentence ends where its last word was taken out.
    const bool ends = endsSentence(word);
    if (ends && before && word.gap == Gap::blank && !before->marker) {
      if (before->tail == "," || before->tail == ";") before->tail.clear();
      if (before->tail.empty()) before->tail = word.tail;
    }
  }
  return done;
}

/// The languages whose words the rules know.
bool isKnownLanguage(const std::string& language) {
  const std::string name = language.substr(0, language.find_first_of("-_"));
  return name == "en" || name == "english" || name == "hi" || name == "hindi" || name == "multi" ||
         name.empty();
}

}  // namespace

std::string RuleCleaner::clean(const Draft& draft) {
  const Manner& manner = draft.style.manner;
  if (manner.verbatim) return trimmed(draft.text);
  DraftWords words = wordsOf(draft.text);
  const bool known = isKnownLanguage(draft.language);
  joinBrokenLines(words, manner);
  joinLooseMarks(words);
  if (!manner.bullet.empty()) findItems(words);
  if (known) {
    words = withoutFillers(std::move(words));
    words = withSpokenMarks(words, manner, draft.language != "en");
  }
  if (manner.listsAfterColon) listAfterColon(words, manner);
  if (manner.shape == Shape::sentenceLines || manner.shape == Shape::sentenceItems) {
    separateSentences(words, manner);
  }
  const std::size_t end = manner.shape == Shape::letter ? layOutLetter(words) : words.size();
  divideParagraphs(words, manner, end);
  if (!manner.bullet.empty()) findItems(words);
  endParagraphs(words, manner, end);
  setCapitals(words, manner, known);
  return textOf(words);
}

}  // namespace pell::localserver
