// The history as the command line prints it.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "stores/DictationRecord.h"

namespace pell {

/// Gives a moment in the words of the user's clock, as "2026-03-01 09:41".
using TimeLabel = std::function<std::string(Date)>;

/// One block for each record, newest last, so that the newest stands above the prompt. Control characters in
/// the texts are shown and not sent to the terminal.
std::string historyText(const std::vector<DictationRecord>& records, const TimeLabel& time);

/// A JSON array, newest first, with the field names of the table; dates are seconds since 1970.
std::string historyJson(const std::vector<DictationRecord>& records);

/// One record as such an object, on one line.
std::string recordJson(const DictationRecord& record);

}  // namespace pell
