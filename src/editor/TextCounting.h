// How many words and characters a text has.
#pragma once

#include <cstdint>
#include <string_view>

namespace pell {

struct TextStats {
  std::int64_t words = 0;
  std::int64_t characters = 0;          // white space included
  std::int64_t charactersNoSpaces = 0;  // without white space and line breaks
  bool operator==(const TextStats&) const = default;

  static const TextStats empty;
};

inline constexpr TextStats TextStats::empty{};

/// Counts over text as its reader sees it, the same on every screen. A character is an extended grapheme
/// cluster, and a line break of CR LF is one. UTF-8; what is none counts as replacement characters.
/// Pure; any thread.
struct TextCounting {
  /// Runs of anything but white space, whatever the script: punctuation belongs to its word.
  static std::int64_t words(std::string_view text);

  static std::int64_t characters(std::string_view text);

  /// All three counts. Without its spaces a text is counted as if it had been written so: characters
  /// that become neighbours may join.
  static TextStats stats(std::string_view text);
};

}  // namespace pell
