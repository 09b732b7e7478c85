// The notes as the command line prints them.
#pragma once

#include <string>
#include <vector>

#include "app/HistoryListing.h"
#include "stores/Note.h"

namespace pell {

/// One line for each note: its id, when it was made, its title. Newest last, so that it stands above the
/// prompt. Control characters are shown and not sent to the terminal.
std::string notesText(const std::vector<NoteSummary>& notes, const TimeLabel& time);

/// A JSON array, newest first, with the field names of the table; dates are seconds since 1970.
std::string notesJson(const std::vector<NoteSummary>& notes);

}  // namespace pell
