// Where a selection goes while markers come and go under it.
#pragma once

#include <cstddef>
#include <vector>

#include "editor/TextRange.h"

namespace pell {

/// What a change of the list did to one paragraph.
struct ListShift {
  std::ptrdiff_t location = 0;  // where the paragraph began before, in UTF-16 code units
  std::ptrdiff_t delta = 0;     // how many units longer its marker is now
};

struct ListSelection {
  /// `selection` on the same text as before. An end that stood in a marker that went stays in its paragraph.
  /// `limit` is the length of the text after the change; the shifts may stand in any order. Pure.
  static TextRange after(TextRange selection, const std::vector<ListShift>& shifts, std::size_t limit);
};

}  // namespace pell
