// What can be undone and redone in a text.
#pragma once

#include <cstddef>
#include <deque>

#include "editor/AttributedText.h"
#include "editor/EditSpan.h"

namespace pell {

/// Keeps of each step the stretch that it changed and what stood there before; what stands there now is in
/// the text itself. So every edit of the text must be told here, in order. One thread.
class UndoHistory {
 public:
  static constexpr std::size_t memoryLimit = std::size_t{64} << 20U;  // bytes

  /// Beyond `limit` bytes the oldest steps go, then those that were undone first; the one that is next
  /// always stays.
  explicit UndoHistory(std::size_t limit = memoryLimit) : limit_(limit) {}

  struct Step {
    EditSpan span;
    AttributedText old;   // what stood in the span before
    TextRange selection;  // what was selected then
  };

  void clear();

  /// The next edit begins a step; until then edits join the last one. Where there is none they are not kept.
  void openStep(TextRange selection);
  /// The same if there is none to join.
  void openFirstStep(TextRange selection);
  void closeStep();

  /// Before `range` of `text` gets `newLength` units.
  void willReplace(const AttributedText& text, TextRange range, std::size_t newLength);

  bool canUndo() const { return !undo_.empty(); }
  bool canRedo() const { return !redo_.empty(); }
  /// Takes the last step away, for the caller to put `old` in the place of `span.rangeAfter()` of `text`,
  /// which is not told here. There must be a step.
  Step undo(const AttributedText& text, TextRange selection);
  Step redo(const AttributedText& text, TextRange selection);

 private:
  Step turn(std::deque<Step>& from, std::deque<Step>& to, const AttributedText& text, TextRange selection);
  void forgetRedo();
  void forgetOldest(std::deque<Step>& steps);

  std::size_t limit_;
  std::deque<Step> undo_;
  std::deque<Step> redo_;
  std::size_t bytes_ = 0;  // that both take
  bool opens_ = false;
  TextRange selection_;  // when the step was opened
};

}  // namespace pell
