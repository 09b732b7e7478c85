// What the rules know of English: small closed lists of words, in lower case.
#pragma once

#include <span>
#include <string_view>

#include "localserver/DraftWords.h"

namespace pell::localserver::english {

/// "a", "the", "your": what follows is a thing that is spoken of.
bool announcesNoun(std::string_view word);

/// "trial", "six-month", "grace": a period of time follows.
bool describesPeriod(std::string_view word);

/// "of", "drama", "between": a period of time came before.
bool continuesPeriod(std::string_view word);

/// "in", "during", "for".
bool isPrepositionOfTime(std::string_view word);

/// Words that stand in any sentence and are nobody's name.
bool isNoName(std::string_view word);

/// Whether a sentence can begin at words[at], a word that is nobody's name: "can you", not "can" or "of".
bool opensSentence(std::span<const DraftWord> words, std::size_t at);

/// "all", "team", "madam": who is greeted without a name.
bool isAddressee(std::string_view word);

/// "friday", "june", but neither "may" nor "march".
bool isDayOrMonth(std::string_view word);

/// Whether these words, which have no mark at their end, ask something.
bool isQuestion(std::span<const DraftWord> sentence);

}  // namespace pell::localserver::english
