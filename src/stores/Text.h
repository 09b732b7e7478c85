// Small questions about UTF-8 text.
#pragma once

#include <string>
#include <string_view>

namespace pell {

bool isUtf8(std::string_view text);

/// The text with every ill-formed sequence replaced by U+FFFD.
std::string repairedUtf8(std::string_view text);

/// Without the white space and line breaks (as Unicode counts them) at both ends.
std::string_view trimmed(std::string_view text);

/// Without the blanks and tabs at both ends; line breaks stay.
std::string_view trimmedLine(std::string_view line);

/// In lower case, whatever the user's language.
std::string lowercased(std::string_view text);

}  // namespace pell
