#pragma once

#include <cstddef>
#include <string_view>

namespace pell {

/// Counts over text as its reader sees it. Pure; any thread.
struct TextCounting {
  /// Extended grapheme clusters: what a reader takes for one character, however it is encoded. A line
  /// break of two code points is one. Bytes that are no UTF-8 count as replacement characters.
  static std::size_t characters(std::string_view utf8);
};

}  // namespace pell
