// What the server counts and tidies in a transcript.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace pell::localserver {

/// Valid UTF-8: bytes that are none become U+FFFD.
std::string repairedUtf8(const std::string& text);
/// Without white space at either end, in the sense of Unicode.
std::string trimmed(const std::string& text);
/// Runs of characters between white space.
std::int64_t wordCount(const std::string& text);
/// Characters as a reader sees them (extended grapheme clusters); a CR LF counts once.
std::int64_t characterCount(const std::string& text);
/// The text cut at its line breaks, each piece trimmed, empty ones left out.
std::vector<std::string> paragraphsOf(const std::string& text);

}  // namespace pell::localserver
