// Sentences: where they begin and end, and how they are set.
#pragma once

#include <cstddef>

#include "localserver/DraftWords.h"
#include "localserver/StyleManner.h"

namespace pell::localserver {

/// Turns "shopping: milk, eggs, bread" into a list, where the items are short and no word joins the last two.
void listAfterColon(DraftWords& words, const Manner& manner);

/// Gives each sentence of several a line of its own, with the sign of a list before it where the manner is of
/// items.
void separateSentences(DraftWords& words, const Manner& manner);

/// Cuts paragraphs that are too long for the manner into even parts, and sets tags at the end apart.
void divideParagraphs(DraftWords& words, const Manner& manner, std::size_t end);

/// Marks at the ends of the paragraphs before the word `end`.
void endParagraphs(DraftWords& words, const Manner& manner, std::size_t end);

/// Capitals at the start of sentences and lines, and for the pronoun I where `english`.
void setCapitals(DraftWords& words, const Manner& manner, bool english);

}  // namespace pell::localserver
