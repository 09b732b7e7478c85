// Punctuation, signs and line breaks that were spoken.
#pragma once

#include "localserver/DraftWords.h"
#include "localserver/StyleManner.h"

namespace pell::localserver {

/// Puts "comma", "question mark", "new line" and their like where they belong. Words that are spoken of ("a
/// comma", "the trial period", "a new line of products") stay. With `hindi`, Hindi's own names of the marks
/// count too.
DraftWords withSpokenMarks(const DraftWords& words, const Manner& manner, bool hindi);

}  // namespace pell::localserver
