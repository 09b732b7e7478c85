// A transcript as words, each with what stands before and after it. Nothing is lost: the words joined again
// are the text, but for the kind and the amount of white space.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace pell::localserver {

/// What lies between a word and the one before it. Later ones are stronger.
enum class Gap { none, blank, line, paragraph };

struct DraftWord {
  Gap gap = Gap::blank;
  std::string lead = {};  // opening brackets and quotes
  std::string core = {};
  std::string tail = {};  // closing ones, and marks
  bool marker = false;    // the sign of a list's item

  /// The core in lower case as far as ASCII goes: what tables are asked with.
  std::string key() const;
};

using DraftWords = std::vector<DraftWord>;

/// The first word has Gap::none.
DraftWords wordsOf(const std::string& text);

/// Joins marks with blanks around them to the words that they belong to.
void joinLooseMarks(DraftWords& words);

std::string textOf(std::span<const DraftWord> words);

/// Finds the signs of list items: "-", "•", "1." and their like at the start of a line.
void findItems(DraftWords& words);

/// A full stop, question mark or the like ends the word. Abbreviations and ellipses end no sentence.
bool endsSentence(const DraftWord& word);

/// Some mark ends the word, so that none is to be added.
bool isMarked(const DraftWord& word);

/// The last mark of a tail, closing quotes and brackets left aside; 0 where there is none.
char32_t lastMark(std::string_view tail);

/// Whether the word would look wrong in lower case at the start of a sentence: not a name that is written so,
/// an identifier or an address.
bool takesCapital(const DraftWord& word);

/// No effect where takesCapital says no.
void capitalise(DraftWord& word);

/// An address, a tag or a picture, which a mark behind it would damage.
bool refusesMark(const DraftWord& word);

/// The mark that ends a statement in the script of the word: "." or "।" or "。"; empty where that is unknown.
std::string_view fullStopFor(const DraftWord& word);

}  // namespace pell::localserver
