// The text view of the notes editor, as the logic asks for it.
#pragma once

#include "editor/EditableText.h"

namespace pell {

/// Main thread only. The text that it holds outlives no view: who needs it later takes a snapshot.
class TextView {
 public:
  virtual ~TextView() = default;

  virtual EditableText& document() = 0;
  virtual void scrollRangeToVisible(TextRange range) = 0;

  /// Lays the accent's wash over `range`, `alpha` from 1 to 0; at 0 nothing is left of it. A mark of the
  /// view, no attribute of the text: it can neither be saved nor undone. There is one at a time.
  virtual void highlight(TextRange range, double alpha) = 0;
};

}  // namespace pell
