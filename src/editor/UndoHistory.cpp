#include "editor/UndoHistory.h"

#include <utility>

namespace pell {
namespace {

std::size_t bytesOf(const UndoHistory::Step& step) {
  // As if no two runs shared their attributes: what a step took out of the text may live on in it alone.
  constexpr std::size_t bytesPerRun = 3 * sizeof(void*) + sizeof(TextAttributes);
  return sizeof(step) + step.old.length() * sizeof(char16_t) + step.old.runCount() * bytesPerRun;
}

/// `step` reaches over `range` of `text`, so what it adds stands there as it did before the step.
void widen(UndoHistory::Step& step, const AttributedText& text, TextRange range) {
  const TextRange now = step.span.rangeAfter();
  if (range.location < now.location) {
    step.old.replace({}, text.subtext({.location = range.location, .length = now.location - range.location}));
  }
  if (range.end() > now.end()) {
    step.old.append(text.subtext({.location = now.end(), .length = range.end() - now.end()}));
  }
  step.span.widen(range);
}

}  // namespace

void UndoHistory::clear() {
  undo_.clear();
  redo_.clear();
  bytes_ = 0;
  opens_ = false;
}

void UndoHistory::openStep(TextRange selection) {
  opens_ = true;
  selection_ = selection;
}

void UndoHistory::openFirstStep(TextRange selection) {
  if (undo_.empty() && !opens_) openStep(selection);
}

void UndoHistory::closeStep() { opens_ = false; }

void UndoHistory::willReplace(const AttributedText& text, TextRange range, std::size_t newLength) {
  forgetRedo();
  if (opens_) {
    undo_.push_back(
        {.span = {.location = range.location, .before = 0, .after = 0}, .old = {}, .selection = selection_});
    bytes_ += bytesOf(undo_.back());
    opens_ = false;
  }
  if (undo_.empty()) return;
  Step& step = undo_.back();
  bytes_ -= bytesOf(step);
  widen(step, text, range);
  step.span.after = step.span.after - range.length + newLength;
  bytes_ += bytesOf(step);
  forgetOldest(undo_);
}

UndoHistory::Step UndoHistory::undo(const AttributedText& text, TextRange selection) {
  return turn(undo_, redo_, text, selection);
}

UndoHistory::Step UndoHistory::redo(const AttributedText& text, TextRange selection) {
  return turn(redo_, undo_, text, selection);
}

UndoHistory::Step UndoHistory::turn(std::deque<Step>& from, std::deque<Step>& to, const AttributedText& text,
                                    TextRange selection) {
  opens_ = false;
  Step step = std::move(from.back());
  from.pop_back();
  const EditSpan& span = step.span;
  to.push_back({.span = {.location = span.location, .before = span.after, .after = span.before},
                .old = text.subtext(span.rangeAfter()),
                .selection = selection});
  bytes_ = bytes_ - bytesOf(step) + bytesOf(to.back());
  forgetOldest(undo_);
  forgetOldest(redo_);
  return step;
}

void UndoHistory::forgetOldest(std::deque<Step>& steps) {
  while (bytes_ > limit_ && steps.size() > 1) {
    bytes_ -= bytesOf(steps.front());
    steps.pop_front();
  }
}

/// What can be redone knows only the text that it was undone from.
void UndoHistory::forgetRedo() {
  for (const Step& step : redo_) bytes_ -= bytesOf(step);
  redo_.clear();
}

}  // namespace pell
