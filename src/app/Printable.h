// Text on its way to a terminal.
#pragma once

#include <string>
#include <string_view>

namespace pell {

/// Control characters but line breaks and tabs become "\xHH": a text from elsewhere may hold an escape
/// sequence, and the terminal is not to obey it.
std::string printable(std::string_view text);

}  // namespace pell
