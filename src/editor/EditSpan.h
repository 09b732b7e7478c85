// A stretch of a text that several edits have changed.
#pragma once

#include <algorithm>
#include <cstddef>

#include "editor/TextRange.h"

namespace pell {

/// The least stretch with all the edits in it: where it begins, its length before the first of them and
/// after the last.
struct EditSpan {
  std::size_t location = 0;
  std::size_t before = 0;
  std::size_t after = 0;

  TextRange rangeBefore() const { return {.location = location, .length = before}; }
  TextRange rangeAfter() const { return {.location = location, .length = after}; }

  /// Reaches over `range` of the text as it is now.
  void widen(TextRange range) {
    const std::size_t start = std::min(location, range.location);
    const std::size_t end = std::max(location + after, range.end());
    before += end - start - after;
    after = end - start;
    location = start;
  }
};

}  // namespace pell
