#include "editor/view/PellTextView.h"

#include <QAbstractTextDocumentLayout>
#include <QGuiApplication>
#include <QHelpEvent>
#include <QInputMethod>
#include <QMetaObject>
#include <QPainter>
#include <QScopedValueRollback>
#include <QScrollBar>
#include <QStyleHints>
#include <QTextBlock>
#include <QTextFrame>
#include <QTimerEvent>
#include <QToolTip>
#include <algorithm>
#include <utility>

#include "editor/BlockStyle.h"

namespace pell {
namespace {

constexpr int horizontalInset = 28;
constexpr int verticalInset = 24;
constexpr int linePadding = 5;  // between the inset and where lines begin
constexpr int bandWidth = 480;
constexpr int bandHeight = 96;
constexpr int caretWidth = 2;
constexpr int dropCaretWidth = 1;
// As much is laid out in no time that anybody would notice.
constexpr int quicklyLaidOut = 20'000;

Appearance appearanceOf(const QPalette& palette) {
  return palette.color(QPalette::Window).lightness() < 128 ? Appearance::dark : Appearance::light;
}

void setMargins(QTextDocument& document) {
  document.setDocumentMargin(0);
  QTextFrameFormat frame = document.rootFrame()->frameFormat();
  frame.setLeftMargin(horizontalInset + linePadding);
  frame.setRightMargin(horizontalInset + linePadding);
  frame.setTopMargin(verticalInset);
  frame.setBottomMargin(verticalInset);
  document.rootFrame()->setFrameFormat(frame);
}

TextRange clamped(TextRange range, std::size_t length) {
  const std::size_t start = std::min(range.location, length);
  return {start, std::min(range.length, length - start)};
}

QTextCursor cursorOver(QTextDocument& document, TextRange range) {
  QTextCursor cursor(&document);
  cursor.setPosition(static_cast<int>(range.location));
  cursor.setPosition(static_cast<int>(range.end()), QTextCursor::KeepAnchor);
  return cursor;
}

}  // namespace

PellTextView::PellTextView(QWidget* parent)
    : QTextEdit(parent), mirror_(*QTextEdit::document(), text_, appearanceOf(palette())) {
  QTextDocument& shown = *QTextEdit::document();
  shown.setUndoRedoEnabled(false);
  setMargins(shown);
  setAcceptRichText(true);
  setTabChangesFocus(false);
  setFrameShape(QFrame::NoFrame);
  setLineWrapMode(QTextEdit::WidgetWidth);
  setWordWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
  setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
  setVerticalScrollBarPolicy(Qt::ScrollBarAsNeeded);
  viewport()->setAutoFillBackground(false);
  viewport()->setMouseTracking(true);
  setCursorWidth(0);  // Qt's own caret has no colour, it inverts what it stands on
  adoptPalette();
  text_.setMirror(this);
  connect(this, &QTextEdit::cursorPositionChanged, this, [this] { adoptSelection(); });
  connect(this, &QTextEdit::selectionChanged, this, [this] { adoptSelection(); });
  connect(&shown, &QTextDocument::contentsChange, this, [this](int position, int removed, int added) {
    if (!mirror_.isWriting() && !isShowing_) foreign_ = Change{position, removed, added};
  });
  connect(&shown, &QTextDocument::contentsChanged, this, [this] { takeForeignEdit(); });
  connect(
      shown.documentLayout(), &QAbstractTextDocumentLayout::documentSizeChanged, this,
      [this] {
        if (selectionWaits_) showSelection();
      },
      Qt::QueuedConnection);
}

PellTextView::~PellTextView() {
  text_.setMirror(nullptr);
  // Qt's part of the view tells of its own end, when there is nothing here any more to hear it.
  disconnect(this, nullptr, this, nullptr);
}

// The text and what is shown of it ------------------------------------------------------------------------

void PellTextView::textReplaced(TextRange before, TextRange after) {
  const QScopedValueRollback showing(isShowing_, true);
  const QString composed = isComposing_ ? QString() : preedit();
  const bool isAll = before.location == 0 && before.length == mirror_.documentLength();
  if (!composed.isEmpty()) setPreedit({}, {});
  // Qt's caret would be carried to the end of what is put in before it, and the layout with it.
  if (isAll) setTextCursor(QTextCursor());
  mirror_.replace(before, after);
  showSelection();
  if (isAll) verticalScrollBar()->setValue(0);
  if (composed.isEmpty()) return;
  const bool isOtherText = isAll && before.length > 0;
  if (isOtherText || text_.selectedRange().length > 0) {
    QGuiApplication::inputMethod()->reset();
  } else {
    setPreedit(composed, preeditLook_);
  }
}

void PellTextView::selectionMoved() { showSelection(); }

/// An accessibility client, or a command of Qt's own, has edited the document.
void PellTextView::takeForeignEdit() {
  if (!foreign_ || mirror_.isWriting()) return;
  const Change change = *std::exchange(foreign_, std::nullopt);
  const auto edit = mirror_.takeBack(change.position, change.removed, change.added);
  if (!edit) return;
  showSelection();
  text_.insertText(edit->replacement, edit->range);
}

TextRange PellTextView::shownSelection() const {
  const QTextCursor cursor = textCursor();
  const auto start = static_cast<std::size_t>(cursor.selectionStart());
  return {start, static_cast<std::size_t>(cursor.selectionEnd()) - start};
}

bool PellTextView::isLaidOut(std::size_t position) const {
  const QTextDocument& shown = *QTextEdit::document();
  if (shown.characterCount() < quicklyLaidOut) return true;
  return shown.findBlock(static_cast<int>(position)).layout()->lineCount() > 0;
}

/// Qt lays a document out as far as its caret, which stands at the end of a note that was just opened. So the
/// caret of a long one is kept back until the layout has come there by itself, or is needed.
void PellTextView::showSelection() {
  const TextRange wanted = clamped(text_.selectedRange(), mirror_.documentLength());
  selectionWaits_ = !isLaidOut(wanted.end());
  const QScopedValueRollback showing(isShowing_, true);
  if (textCursor().isNull()) setTextCursor(QTextCursor(QTextEdit::document()));
  if (selectionWaits_) return;
  mirror_.showTypingAttributes();
  showCaret();
  if (wanted == shownSelection()) return;
  const int scrolled = verticalScrollBar()->value();
  setTextCursor(cursorOver(*QTextEdit::document(), wanted));
  verticalScrollBar()->setValue(scrolled);  // to set a selection is not to look for it
}

void PellTextView::settleSelection() {
  if (!selectionWaits_) return;
  QTextEdit::document()->documentLayout()->documentSize();  // lays out everything
  showSelection();
}

void PellTextView::adoptSelection() {
  if (isShowing_ || mirror_.isWriting() || foreign_ || selectionWaits_) return;
  showCaret();
  const TextRange shown = shownSelection();
  if (shown != text_.selectedRange()) text_.setSelectedRange(shown);
}

void PellTextView::scrollRangeToVisible(TextRange range) {
  const TextRange shown = clamped(range, mirror_.documentLength());
  const QRect start = cursorRect(cursorOver(*QTextEdit::document(), {shown.location}));
  const QRect end = cursorRect(cursorOver(*QTextEdit::document(), {shown.end()}));
  const int below = std::max(end.bottom() + 1 - viewport()->height(), 0);
  const int above = std::min(start.top() - below, 0);  // what does not fit is shown from its start
  verticalScrollBar()->setValue(verticalScrollBar()->value() + below + above);
}

void PellTextView::highlight(TextRange range, double alpha) {
  if (alpha <= 0) {
    setExtraSelections({});
    return;
  }
  QTextEdit::ExtraSelection wash;
  wash.cursor = cursorOver(*QTextEdit::document(), clamped(range, mirror_.documentLength()));
  QColor tint = colour(PaletteColour::accentWash, mirror_.appearance());
  tint.setAlphaF(static_cast<float>(std::min(alpha, 1.0)));
  wash.format.setBackground(tint);
  setExtraSelections({wash});
}

// Looks --------------------------------------------------------------------------------------------------

void PellTextView::setPlaceholder(const QString& placeholder) {
  placeholder_ = placeholder;
  setAccessibleDescription(placeholder);
  viewport()->update();
}

void PellTextView::paintEvent(QPaintEvent* event) {
  QTextEdit::paintEvent(event);
  QPainter painter(viewport());
  if (isCaretOn_) painter.fillRect(caret(), colour(PaletteColour::accentInk, mirror_.appearance()));
  if (!text_.storage().isEmpty() || placeholder_.isEmpty() || !preedit().isEmpty()) return;
  painter.setFont(QtTextFormats::fontOf(pell::font(BlockStyle::title)));
  painter.setPen(colour(PaletteColour::faint, mirror_.appearance()));
  const QRect lines = viewport()->rect().adjusted(horizontalInset + linePadding, verticalInset,
                                                  -horizontalInset - linePadding, 0);
  painter.drawText(lines, Qt::AlignLeft | Qt::AlignTop | Qt::TextWordWrap, placeholder_);
}

// The caret ----------------------------------------------------------------------------------------------

/// Empty where nothing is laid out: to ask Qt there would lay out all that stands before, and nobody sees it.
QRect PellTextView::caret() const {
  if (selectionWaits_ || textCursor().block().layout()->lineCount() == 0) return {};
  QRect rect = cursorRect();
  rect.setWidth(caretWidth);
  return rect;
}

/// From now on it blinks anew, as it does wherever something was just done.
void PellTextView::showCaret() {
  const int period = QGuiApplication::styleHints()->cursorFlashTime();
  isCaretOn_ = hasFocus();
  blink_.stop();
  if (isCaretOn_ && period > 1) blink_.start(period / 2, this);
  viewport()->update();
}

void PellTextView::focusInEvent(QFocusEvent* event) {
  QTextEdit::focusInEvent(event);
  showCaret();
}

void PellTextView::focusOutEvent(QFocusEvent* event) {
  QTextEdit::focusOutEvent(event);
  showCaret();
}

void PellTextView::timerEvent(QTimerEvent* event) {
  if (event->timerId() != blink_.timerId()) {
    QTextEdit::timerEvent(event);
    return;
  }
  isCaretOn_ = !isCaretOn_;
  viewport()->update(caret());
}

void PellTextView::dragEnterEvent(QDragEnterEvent* event) {
  setCursorWidth(dropCaretWidth);
  QTextEdit::dragEnterEvent(event);
}

void PellTextView::dragLeaveEvent(QDragLeaveEvent* event) {
  QTextEdit::dragLeaveEvent(event);
  setCursorWidth(0);
}

// Colours ------------------------------------------------------------------------------------------------

void PellTextView::adoptPalette() {
  const Appearance appearance = appearanceOf(palette());
  if (appearance != mirror_.appearance()) {
    const int scrolled = verticalScrollBar()->value();
    setExtraSelections({});
    mirror_.setAppearance(appearance);
    QTextEdit::document()->documentLayout()->documentSize();  // lays out as far as it was scrolled
    verticalScrollBar()->setValue(scrolled);
  }
  QPalette own = palette();
  own.setColor(QPalette::Text, colour(PaletteColour::ink, appearance));
  own.setColor(QPalette::Highlight, colour(PaletteColour::selected, appearance));
  own.setColor(QPalette::HighlightedText, colour(PaletteColour::ink, appearance));
  if (own != palette()) setPalette(own);
}

void PellTextView::changeEvent(QEvent* event) {
  QTextEdit::changeEvent(event);
  if (event->type() == QEvent::PaletteChange) adoptPalette();
}

QRect PellTextView::controlBand(const QRect& visible) {
  if (visible.isEmpty()) return {};
  QRect band(0, 0, std::min(bandWidth, visible.width()), std::min(bandHeight, visible.height()));
  band.moveCenter(visible.center());
  band.moveBottom(visible.bottom());
  return band;
}

void PellTextView::updateCursor(const QPoint& position) {
  Qt::CursorShape shape = Qt::IBeamCursor;
  if (controlBand(viewport()->rect()).contains(position)) {
    shape = Qt::ArrowCursor;
  } else if (!anchorAt(position).isEmpty()) {
    shape = Qt::PointingHandCursor;
  }
  if (viewport()->cursor().shape() != shape) viewport()->setCursor(shape);
}

bool PellTextView::viewportEvent(QEvent* event) {
  if (event->type() != QEvent::ToolTip) return QTextEdit::viewportEvent(event);
  const auto& help = static_cast<const QHelpEvent&>(*event);
  const QString link = anchorAt(help.pos());
  // In a paragraph of its own, so that no address is taken for markup.
  QToolTip::showText(help.globalPos(), link.isEmpty() ? link : "<p>" + link.toHtmlEscaped() + "</p>", this);
  return true;
}

}  // namespace pell
