#include "editor/view/DocumentMirror.h"

#include <QScopedValueRollback>
#include <QTextBlock>
#include <QTextCursor>
#include <QTextFrame>
#include <algorithm>

namespace pell {
namespace {

QTextCursor select(QTextDocument& document, TextRange range) {
  QTextCursor cursor(&document);
  cursor.setPosition(static_cast<int>(range.location));
  cursor.setPosition(static_cast<int>(range.end()), QTextCursor::KeepAnchor);
  return cursor;
}

}  // namespace

DocumentMirror::DocumentMirror(QTextDocument& document, const EditableText& text, Appearance appearance)
    : document_(document), text_(text), appearance_(appearance), formats_(appearance) {}

std::size_t DocumentMirror::documentLength() const {
  return static_cast<std::size_t>(document_.characterCount()) - 1;  // it ends with a separator of its own
}

QString DocumentMirror::raw(TextRange range) const { return select(document_, range).selectedText(); }

void DocumentMirror::replace(TextRange before, TextRange after) {
  const QScopedValueRollback writing(isWriting_, true);
  if (before.location == 0 && before.length == documentLength()) {
    showAll();
  } else {
    write(before, after);
  }
}

void DocumentMirror::setAppearance(Appearance appearance) {
  if (appearance == appearance_) return;
  appearance_ = appearance;
  formats_ = QtTextFormats(appearance);
  const QScopedValueRollback writing(isWriting_, true);
  showAll();
}

/// While the document has no page it is not laid out, and once it has one again, only as far as it is seen.
void DocumentMirror::showAll() {
  const QSizeF page = document_.pageSize();
  document_.setPageSize(QSizeF(0, 0));
  write({.length = documentLength()}, {.length = text_.storage().length()});
  document_.setPageSize(page);
}

void DocumentMirror::write(TextRange before, TextRange after) {
  QTextCursor edit(&document_);
  edit.beginEditBlock();
  if (before.length == after.length && raw(before) == QtTextFormats::shown(text_.storage().text(after))) {
    format(after);
  } else {
    if (before.length > 0) select(document_, before).removeSelectedText();
    insert(after);
  }
  formatParagraphs(after);
  edit.endEditBlock();
}

void DocumentMirror::insert(TextRange range) {
  QTextCursor cursor(&document_);
  cursor.setPosition(static_cast<int>(range.location));
  text_.storage().forEachRun(range, [&](const AttributedText::Run& run) {
    cursor.insertText(QtTextFormats::shown(text_.storage().text(run.range)),
                      formats_.characters(run.attributes));
  });
}

void DocumentMirror::format(TextRange range) {
  text_.storage().forEachRun(range, [&](const AttributedText::Run& run) {
    select(document_, run.range).setCharFormat(formats_.characters(run.attributes));
  });
}

void DocumentMirror::formatParagraphs(TextRange range) {
  const AttributedText& text = text_.storage();
  const auto end = static_cast<int>(range.end());
  for (QTextBlock block = document_.findBlock(static_cast<int>(range.location));
       block.isValid() && block.position() <= end; block = block.next()) {
    const auto start = static_cast<std::size_t>(block.position());
    const bool isLastAndEmpty = start == text.length();
    if (isLastAndEmpty && text_.selectedRange() != TextRange{.location = start})
      return;  // it stays as it was
    const TextAttributes& attributes = isLastAndEmpty ? text_.typingAttributes() : text.attributesAt(start);
    const QTextBlockFormat wanted = formats_.paragraph(attributes);
    if (block.blockFormat() != wanted) QTextCursor(block).setBlockFormat(wanted);
    // An empty line is as high as the font that Qt keeps with the break before it.
    const QTextCharFormat& characters = formats_.characters(attributes);
    if (block.length() == 1 && block.charFormat() != characters) {
      QTextCursor(block).setBlockCharFormat(characters);
      document_.markContentsDirty(block.position(), 1);  // Qt forgets to lay out the first line anew
    }
  }
}

void DocumentMirror::showTypingAttributes() {
  if (document_.lastBlock().length() > 1) return;
  const QScopedValueRollback writing(isWriting_, true);
  formatParagraphs({.location = documentLength()});
}

std::optional<DocumentMirror::Edit> DocumentMirror::takeBack(int position, int removed, int added) {
  // Qt reports the separator at its document's end as well, and often more than was changed.
  const AttributedText& text = text_.storage();
  const std::size_t start = std::min(static_cast<std::size_t>(position), text.length());
  const std::size_t oldEnd = std::min(start + static_cast<std::size_t>(removed), text.length());
  const std::size_t newEnd = std::min(start + static_cast<std::size_t>(added), documentLength());
  const QString before = QtTextFormats::shown(text.text({start, oldEnd - start}));
  const QString now = raw({start, newEnd - start});
  const auto shorter = std::min(before.size(), now.size());
  qsizetype same = 0;
  while (same < shorter && before[same] == now[same]) ++same;
  qsizetype sameAtEnd = 0;
  while (sameAtEnd < shorter - same &&
         before[before.size() - 1 - sameAtEnd] == now[now.size() - 1 - sameAtEnd]) {
    ++sameAtEnd;
  }
  const auto location = start + static_cast<std::size_t>(same);
  const TextRange was{location, static_cast<std::size_t>(before.size() - same - sameAtEnd)};
  const QString is = now.mid(same, now.size() - same - sameAtEnd);
  if (was.length == 0 && is.isEmpty()) return std::nullopt;
  const QScopedValueRollback writing(isWriting_, true);
  write({location, static_cast<std::size_t>(is.size())}, was);
  return Edit{was, is.toStdU16String()};
}

}  // namespace pell
