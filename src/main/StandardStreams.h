// Standard input, output and error, as whoever started the program left them.
#pragma once

#include <string_view>

namespace pell {

/// Puts something that refuses every use in the place of each stream that is closed: a file that the program
/// opens later would get its number, and what is meant for the terminal would land in it. Before anything
/// else.
void occupyClosedStreams();

/// Writes `text` to standard output, to the last byte. Gives the exit code: 0, or 1 with a sentence on
/// standard error.
int printOut(std::string_view text);

/// Writes `pell: <sentence>` to standard error and gives the exit code 1.
int failWith(std::string_view sentence);

}  // namespace pell
