// Where a letter begins and ends.
#pragma once

#include <cstddef>

#include "localserver/DraftWords.h"

namespace pell::localserver {

/// Puts a greeting and a sign-off on lines of their own, with blank lines around the text between, and gives
/// the names in them their capitals. Gives the index of the first word of the sign-off, or the number of
/// words where there is none: from there on nothing is a sentence.
std::size_t layOutLetter(DraftWords& words);

}  // namespace pell::localserver
