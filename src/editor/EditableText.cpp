#include "editor/EditableText.h"

#include <algorithm>
#include <utility>

namespace pell {
namespace {

constexpr char16_t lineBreak = u'\n';

/// A selection on the same text once `range` has become `newLength` units.
TextRange moved(TextRange selection, TextRange range, std::size_t newLength) {
  const auto behind = [&](std::size_t position) { return position - range.length + newLength; };
  const auto start = [&](std::size_t position) {
    if (position >= range.end()) return behind(position);
    return position > range.location ? range.location + newLength : position;
  };
  const auto end = [&](std::size_t position) {
    if (position <= range.location) return position;
    return position >= range.end() ? behind(position) : range.location;
  };
  const std::size_t from = start(selection.location);
  if (selection.length == 0) return {.location = from};
  const std::size_t to = std::max(from, end(selection.end()));
  return {.location = from, .length = to - from};
}

/// Whether one of two texts is the other with something before it.
bool endAlike(const std::u16string& one, const std::u16string& other) {
  return !one.empty() && !other.empty() && (one.ends_with(other) || other.ends_with(one));
}

}  // namespace

void EditableText::beginEditing() {
  if (nesting_++ > 0) return;
  selectionBefore_ = selection_;
}

void EditableText::endEditing() {
  if (nesting_ == 1 && changed_) fixParagraphStyles(changed_->rangeAfter());
  if (--nesting_ > 0) return;
  isRecording_ = true;  // whoever is told may edit
  const std::optional<EditSpan> changed = std::exchange(changed_, std::nullopt);
  const bool hasMoved = selection_ != selectionBefore_;
  if (changed || hasMoved) followSelection(changed.has_value());
  if (mirror_ != nullptr && changed) mirror_->textReplaced(changed->rangeBefore(), changed->rangeAfter());
  if (mirror_ != nullptr && (changed || hasMoved)) mirror_->selectionMoved();
  if (delegate_ != nullptr && hasMoved) delegate_->textViewDidChangeSelection();
}

void EditableText::setAttributedString(AttributedText text) {
  beginEditing();
  history_.clear();
  typed_.reset();
  emptyEnd_.reset();
  if (!changed_) changed_.emplace();
  changed_->widen({.location = 0, .length = storage_.length()});
  changed_->after = text.length();
  storage_ = std::move(text);
  selection_ = {};
  endEditing();
}

void EditableText::replaceCharacters(TextRange range, const AttributedText& replacement) {
  range = cut(range);
  beginEditing();
  put(range, replacement);
  selection_ = moved(selection_, range, replacement.length());
  endEditing();
}

void EditableText::changeAttributes(TextRange range, const std::function<void(TextAttributes&)>& change) {
  range = cut(range);
  AttributedText changed = storage_.subtext(range);
  if (!changed.changeAttributes({.location = 0, .length = range.length}, change)) return;
  beginEditing();
  put(range, changed);
  endEditing();
}

void EditableText::setSelectedRange(TextRange range) {
  range = cut(range);
  if (range == selection_) return;
  beginEditing();
  selection_ = range;
  typed_.reset();
  endEditing();
}

void EditableText::setTypingAttributes(TextAttributes attributes) {
  typing_ = std::move(attributes);
  if (isAtEmptyEnd()) emptyEnd_ = typing_;
  if (mirror_ != nullptr && nesting_ == 0) mirror_->selectionMoved();
}

bool EditableText::shouldChangeText(TextRange range, std::optional<std::u16string_view> replacement) {
  if (!isAllowed(cut(range), replacement)) return false;
  history_.openStep(selection_);
  return true;
}

void EditableText::didChangeText() {
  history_.closeStep();
  if (delegate_ != nullptr) delegate_->textDidChange();
}

bool EditableText::insertText(std::u16string_view text, TextRange range) {
  range = cut(range);
  const std::u16string own = AttributedText(text).text();
  if (own.empty() && range.length == 0) return true;
  if (!isAllowed(range, own)) return false;
  if (!goesOn(own, range)) history_.openStep(selection_);
  TextAttributes attributes = typing_;
  enter(AttributedText(own, attributes), range);
  typed_ = {.deletes = text.empty(), .at = selection_.location};
  if (!text.empty() && !isAtEmptyEnd()) {
    // Bold that was asked for goes on over a line break, whatever stands behind it.
    attributes.paragraphStyle = typing_.paragraphStyle;
    typing_ = std::move(attributes);
  }
  didChangeText();
  return true;
}

bool EditableText::insertText(const AttributedText& text, TextRange range) {
  range = cut(range);
  if (text.isEmpty() && range.length == 0) return true;
  const std::u16string plain = text.text();
  if (!shouldChangeText(range, plain)) return false;
  enter(text, range);
  didChangeText();
  return true;
}

void EditableText::undo() {
  if (nesting_ == 0 && canUndo()) apply(history_.undo(storage_, selection_));
}

void EditableText::redo() {
  if (nesting_ == 0 && canRedo()) apply(history_.redo(storage_, selection_));
}

TextRange EditableText::cut(TextRange range) const {
  const std::size_t location = std::min(range.location, storage_.length());
  return {.location = location, .length = std::min(range.length, storage_.length() - location)};
}

bool EditableText::isAllowed(TextRange range, std::optional<std::u16string_view> replacement) {
  return delegate_ == nullptr || delegate_->shouldChangeText(range, replacement);
}

bool EditableText::goesOn(std::u16string_view text, TextRange range) const {
  if (!typed_ || typed_->deletes != text.empty()) return false;
  if (typed_->deletes) return range.end() == typed_->at || range.location == typed_->at;
  return range == TextRange{.location = typed_->at} && text.find(lineBreak) == std::u16string_view::npos;
}

void EditableText::put(TextRange range, const AttributedText& replacement) {
  const std::size_t newLength = replacement.length();
  if (range.length == 0 && newLength == 0) return;
  if (isRecording_) {
    history_.openFirstStep(selectionBefore_);
    history_.willReplace(storage_, range, newLength);
  }
  typed_.reset();
  const bool isAtEnd = range.end() == storage_.length();
  if (isAtEnd && !endAlike(storage_.text(range), replacement.text())) emptyEnd_.reset();
  if (!changed_) changed_ = {.location = range.location, .before = 0, .after = 0};
  changed_->widen(range);
  changed_->after = changed_->after - range.length + newLength;
  storage_.replace(range, replacement);
}

void EditableText::enter(const AttributedText& text, TextRange range) {
  beginEditing();
  put(range, text);
  selection_ = {.location = range.location + text.length()};
  endEditing();
}

void EditableText::apply(const UndoHistory::Step& step) {
  beginEditing();
  isRecording_ = false;
  put(step.span.rangeAfter(), step.old);
  selection_ = step.selection;
  endEditing();
  if (delegate_ != nullptr) delegate_->textDidChange();
}

void EditableText::fixParagraphStyles(TextRange range) {
  TextRange paragraph = storage_.paragraphRange({.location = range.location});
  while (paragraph.length > 0) {
    const std::optional<ParagraphStyle> style = storage_.attributesAt(paragraph.location).paragraphStyle;
    bool isMixed = false;
    storage_.forEachRun(paragraph, [&](const AttributedText::Run& run) {
      isMixed |= run.attributes.paragraphStyle != style;
    });
    if (isMixed) {
      changeAttributes(paragraph, [&](TextAttributes& attributes) { attributes.paragraphStyle = style; });
    }
    if (paragraph.end() >= range.end()) return;
    paragraph = storage_.paragraphRange({.location = paragraph.end()});
  }
}

/// Where no character tells the attributes of a paragraph.
bool EditableText::isAtEmptyEnd() const {
  const std::size_t length = storage_.length();
  return selection_.location == length && (length == 0 || storage_[length - 1] == lineBreak);
}

void EditableText::followSelection(bool textChanged) {
  if (isAtEmptyEnd()) {
    if (emptyEnd_) {
      typing_ = *emptyEnd_;
    } else if (!textChanged && !storage_.isEmpty()) {
      typing_ = storage_.attributesAt(storage_.length() - 1);
    }
    emptyEnd_ = typing_;
    return;
  }
  const std::size_t at = selection_.location;
  const bool nothingBefore = at == 0 || storage_[at - 1] == lineBreak;
  typing_ = storage_.attributesAt(selection_.length > 0 || nothingBefore ? at : at - 1);
}

}  // namespace pell
