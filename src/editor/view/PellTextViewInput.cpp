// What the user does to the text view.
#include <QContextMenuEvent>
#include <QDragLeaveEvent>
#include <QDropEvent>
#include <QKeyEvent>
#include <QMenu>
#include <QMimeData>
#include <QScopedValueRollback>
#include <QTextBlock>
#include <algorithm>
#include <array>
#include <memory>
#include <utility>

#include "editor/LinkDetection.h"
#include "editor/SmartPunctuation.h"
#include "editor/view/NoteMimeData.h"
#include "editor/view/PellTextView.h"

namespace pell {
namespace {

constexpr std::size_t punctuationContext = 4;  // units, more than any rule looks at
constexpr char16_t joiner = u'\u200D';
constexpr char16_t emojiSelector = u'\uFE0F';

constexpr std::array<std::pair<QKeySequence::StandardKey, QTextCursor::MoveOperation>, 5> deletions{{
    {QKeySequence::Delete, QTextCursor::NextCharacter},
    {QKeySequence::DeleteStartOfWord, QTextCursor::PreviousWord},
    {QKeySequence::DeleteEndOfWord, QTextCursor::NextWord},
    {QKeySequence::DeleteEndOfLine, QTextCursor::EndOfBlock},
    {QKeySequence::DeleteCompleteLine, QTextCursor::EndOfBlock},
}};

/// Joiners and marks of direction are text whatever is held down with them.
bool isText(const QKeyEvent& event) {
  if (event.text().isEmpty()) return false;
  const QChar first = event.text().front();
  if (first.category() == QChar::Other_Format) return true;
  const auto held = event.modifiers() & ~(Qt::ShiftModifier | Qt::KeypadModifier);
  if (held == Qt::ControlModifier) return false;
  return first.isPrint() || first.category() == QChar::Other_PrivateUse || first.isSurrogate() ||
         first == u'\t';
}

bool isPlainBackspace(const QKeyEvent& event) {
  return event.key() == Qt::Key_Backspace &&
         !(event.modifiers() & ~(Qt::ShiftModifier | Qt::GroupSwitchModifier));
}

}  // namespace

// Keys ---------------------------------------------------------------------------------------------------

void PellTextView::keyPressEvent(QKeyEvent* event) {
  settleSelection();
  if (!edit(*event)) {
    QTextEdit::keyPressEvent(event);
    return;
  }
  event->accept();
  ensureCursorVisible();
}

bool PellTextView::edit(const QKeyEvent& event) {
  if (event.matches(QKeySequence::Undo)) {
    text_.undo();
  } else if (event.matches(QKeySequence::Redo)) {
    text_.redo();
  } else if (event.matches(QKeySequence::Cut)) {
    copy();
    text_.insertText(u"", text_.selectedRange());
  } else if (event.matches(QKeySequence::InsertParagraphSeparator)) {
    type("\n");
  } else if (event.matches(QKeySequence::InsertLineSeparator)) {
    type(QChar(QChar::LineSeparator));
  } else if (isPlainBackspace(event)) {
    deleteBackward();
  } else if (const auto* deletion =
                 std::ranges::find_if(deletions, [&](const auto& each) { return event.matches(each.first); });
             deletion != deletions.end()) {
    deleteTo(deletion->second);
  } else if (isText(event)) {
    type(event.text());
  } else {
    return false;
  }
  return true;
}

/// An address becomes a link when the word is over.
void PellTextView::linkWordBefore(std::size_t caret) {
  const std::size_t line = text_.storage().paragraphRange({.location = caret}).location;
  const std::size_t start = std::max(line, caret - std::min(caret, LinkDetection::longest + 1));
  const auto found = LinkDetection::atEnd(text_.storage().text({start, caret - start}));
  if (!found) return;
  const TextRange word{caret - found->fromEnd, found->length};
  if (text_.storage().attributesAt(word.location).link || !text_.shouldChangeText(word, std::nullopt)) return;
  const TextAttributes typing = text_.typingAttributes();  // what follows is no part of it
  text_.changeAttributes(word, [&](TextAttributes& attributes) { attributes.link = found->target; });
  text_.didChangeText();
  text_.setTypingAttributes(typing);
}

void PellTextView::type(const QString& text) {
  const TextRange selection = text_.selectedRange();
  if (text.size() == 1 && text.front().isSpace() && selection.length == 0) linkWordBefore(selection.location);
  if (!text_.insertText(text.toStdU16String(), text_.selectedRange()) || text.size() != 1) return;
  const std::size_t caret = text_.selectedRange().location;
  const std::size_t line = text_.storage().paragraphRange({.location = caret}).location;
  const std::size_t start = std::max(line, caret - std::min(caret, punctuationContext));
  const auto substitute = SmartPunctuation::after(text_.storage().text({start, caret - start}));
  if (!substitute) return;
  // A step of its own: undoing it leaves what was typed.
  text_.insertText(std::u16string(1, substitute->character),
                   {caret - substitute->replaced, substitute->replaced});
}

void PellTextView::deleteTo(QTextCursor::MoveOperation operation) {
  QTextCursor cursor = textCursor();
  if (!cursor.hasSelection()) cursor.movePosition(operation, QTextCursor::KeepAnchor);
  if (!cursor.hasSelection()) return;
  const auto start = static_cast<std::size_t>(cursor.selectionStart());
  text_.insertText(u"", {start, static_cast<std::size_t>(cursor.selectionEnd()) - start});
}

/// A character that is written as several is taken back by one of them, as a typed accent or a vowel sign; a
/// picture as a whole.
void PellTextView::deleteBackward() {
  QTextCursor cursor = textCursor();
  if (!cursor.hasSelection()) cursor.movePosition(QTextCursor::PreviousCharacter, QTextCursor::KeepAnchor);
  TextRange range{static_cast<std::size_t>(cursor.selectionStart()), 0};
  range.length = static_cast<std::size_t>(cursor.selectionEnd()) - range.location;
  if (range.length == 0) return;
  const std::u16string deleted = text_.storage().text(range);
  const bool isWhole = textCursor().hasSelection() || std::ranges::any_of(deleted, [](char16_t unit) {
                         return QChar::isSurrogate(unit) || unit == joiner || unit == emojiSelector;
                       });
  text_.insertText(u"", isWhole ? range : TextRange{range.end() - 1, 1});
}

// Input methods ------------------------------------------------------------------------------------------

QString PellTextView::preedit() const { return textCursor().block().layout()->preeditAreaText(); }

/// Shown in the line, and no part of the text until it is committed.
void PellTextView::setPreedit(const QString& preedit, const QList<QInputMethodEvent::Attribute>& attributes) {
  QInputMethodEvent event(preedit, attributes);
  QTextEdit::inputMethodEvent(&event);
}

void PellTextView::inputMethodEvent(QInputMethodEvent* event) {
  settleSelection();
  const QScopedValueRollback composing(isComposing_, true);
  const bool replaces = event->replacementLength() > 0;
  const bool commits = !event->commitString().isEmpty() || replaces;
  const bool isSelected = text_.selectedRange().length > 0;
  if (isSelected && !commits && event->preeditString() != preedit()) {
    text_.insertText(u"", text_.selectedRange());
  }
  if (commits) {
    if (!preedit().isEmpty()) setPreedit({}, {});
    if (replaces) {
      const auto caret = static_cast<qint64>(text_.selectedRange().location);
      const auto start = static_cast<std::size_t>(std::max<qint64>(caret + event->replacementStart(), 0));
      text_.insertText(event->commitString().toStdU16String(),
                       {start, static_cast<std::size_t>(event->replacementLength())});
    } else {
      type(event->commitString());
    }
  }
  preeditLook_ = event->attributes();
  setPreedit(event->preeditString(), preeditLook_);
  event->accept();
  viewport()->update();  // for the placeholder
}

// The pointer --------------------------------------------------------------------------------------------

void PellTextView::mousePressEvent(QMouseEvent* event) {
  settleSelection();
  pressedLink_ = event->button() == Qt::LeftButton ? anchorAt(event->position().toPoint()) : QString();
  QTextEdit::mousePressEvent(event);
}

void PellTextView::mouseMoveEvent(QMouseEvent* event) {
  QTextEdit::mouseMoveEvent(event);
  updateCursor(event->position().toPoint());
}

void PellTextView::mouseReleaseEvent(QMouseEvent* event) {
  QTextEdit::mouseReleaseEvent(event);
  const QString link = std::exchange(pressedLink_, QString());
  const bool isClick = event->button() == Qt::LeftButton && !textCursor().hasSelection();
  if (!isClick || link.isEmpty() || anchorAt(event->position().toPoint()) != link) return;
  if (clickedOnLink) clickedOnLink(link.toStdString());
}

void PellTextView::contextMenuEvent(QContextMenuEvent* event) {
  settleSelection();
  const std::unique_ptr<QMenu> menu(createStandardContextMenu(event->pos()));
  const auto offer = [&](const char* name, bool isEnabled, void (EditableText::*step)()) {
    auto* action = menu->findChild<QAction*>(QLatin1String(name));
    if (!action) return;
    action->disconnect();
    action->setEnabled(isEnabled);
    connect(action, &QAction::triggered, this, [this, step] {
      (text_.*step)();
      ensureCursorVisible();
    });
  };
  offer("edit-undo", text_.canUndo(), &EditableText::undo);
  offer("edit-redo", text_.canRedo(), &EditableText::redo);
  menu->exec(event->globalPos());
}

// The clipboard, and what is dragged ---------------------------------------------------------------------

QMimeData* PellTextView::createMimeDataFromSelection() const {
  return std::make_unique<NoteMimeData>(text_.storage().subtext(text_.selectedRange()), this).release();
}

bool PellTextView::canInsertFromMimeData(const QMimeData* source) const {
  return NoteMimeData::canRead(*source);
}

void PellTextView::insertFromMimeData(const QMimeData* source) {
  settleSelection();
  const auto pasted = NoteMimeData::read(*source);
  if (const auto* styled = std::get_if<AttributedText>(&pasted)) {
    text_.insertText(*styled, text_.selectedRange());
  } else if (const auto& plain = std::get<std::u16string>(pasted); !plain.empty()) {
    text_.insertText(plain, text_.selectedRange());
  }
  ensureCursorVisible();
}

/// A selection that moves is one edit, so that it is undone as one.
void PellTextView::moveSelectionTo(std::size_t position) {
  const TextRange moved = text_.selectedRange();
  if (position >= moved.location && position <= moved.end()) return;
  const AttributedText& text = text_.storage();
  const bool goesBack = position < moved.location;
  const TextRange between = goesBack ? TextRange{position, moved.location - position}
                                     : TextRange{moved.end(), position - moved.end()};
  AttributedText turned = text.subtext(goesBack ? moved : between);
  turned.append(text.subtext(goesBack ? between : moved));
  const TextRange both{std::min(position, moved.location), between.length + moved.length};
  if (!text_.insertText(turned, both)) return;
  text_.setSelectedRange({goesBack ? position : position - moved.length, moved.length});
}

void PellTextView::dropEvent(QDropEvent* event) {
  settleSelection();
  const auto position = static_cast<std::size_t>(cursorForPosition(event->position().toPoint()).position());
  QDragLeaveEvent leaving;  // takes the caret of the drop away
  dragLeaveEvent(&leaving);
  if (NoteMimeData::isFrom(this, *event->mimeData()) && event->proposedAction() == Qt::MoveAction) {
    moveSelectionTo(position);
  } else {
    text_.setSelectedRange({.location = position});
    insertFromMimeData(event->mimeData());
  }
  event->acceptProposedAction();
}

}  // namespace pell
