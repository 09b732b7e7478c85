// The text view of the notes.
#pragma once

#include <QBasicTimer>
#include <QInputMethodEvent>
#include <QString>
#include <QTextEdit>
#include <functional>
#include <optional>
#include <string>

#include "editor/TextView.h"
#include "editor/view/DocumentMirror.h"

namespace pell {

/// A text edit of Qt's that shows an `EditableText`. Its keys, input methods, pastes and drops become edits
/// of that text, which come back through the mirror; so does what Qt's document suffers in another way, as
/// from an accessibility client. Qt's own undo is off.
///
/// The colours are those of light or dark surroundings, by the palette that the widget stands in.
class PellTextView final : public QTextEdit, public TextView, private EditableText::Mirror {
 public:
  explicit PellTextView(QWidget* parent = nullptr);
  ~PellTextView() override;

  // TextView
  EditableText& document() override { return text_; }
  void scrollRangeToVisible(TextRange range) override;
  void highlight(TextRange range, double alpha) override;

  /// Shown while the text is empty.
  void setPlaceholder(const QString& placeholder);

  /// Called with the target of a link that was clicked.
  std::function<void(const std::string& link)> clickedOnLink;

  /// Where a bar with controls floats over the view, in the coordinates of `visible`: the pointer is an arrow
  /// there.
  static QRect controlBand(const QRect& visible);

 protected:
  bool viewportEvent(QEvent* event) override;
  void changeEvent(QEvent* event) override;
  void paintEvent(QPaintEvent* event) override;
  void focusInEvent(QFocusEvent* event) override;
  void focusOutEvent(QFocusEvent* event) override;
  void timerEvent(QTimerEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;
  void inputMethodEvent(QInputMethodEvent* event) override;
  void mousePressEvent(QMouseEvent* event) override;
  void mouseMoveEvent(QMouseEvent* event) override;
  void mouseReleaseEvent(QMouseEvent* event) override;
  void contextMenuEvent(QContextMenuEvent* event) override;
  void dragEnterEvent(QDragEnterEvent* event) override;
  void dragLeaveEvent(QDragLeaveEvent* event) override;
  void dropEvent(QDropEvent* event) override;
  QMimeData* createMimeDataFromSelection() const override;
  bool canInsertFromMimeData(const QMimeData* source) const override;
  void insertFromMimeData(const QMimeData* source) override;

 private:
  // EditableText::Mirror
  void textReplaced(TextRange before, TextRange after) override;
  void selectionMoved() override;

  bool edit(const QKeyEvent& event);
  void type(const QString& text);
  void linkWordBefore(std::size_t caret);
  void deleteTo(QTextCursor::MoveOperation operation);
  void deleteBackward();
  void undoOrRedo(void (EditableText::*step)());
  void moveSelectionTo(std::size_t position);

  TextRange shownSelection() const;
  void showSelection();
  void settleSelection();
  void adoptSelection();
  void takeForeignEdit();
  bool isLaidOut(std::size_t position) const;

  void adoptPalette();
  void showCaret();
  QRect caret() const;
  void updateCursor(const QPoint& position);
  QString preedit() const;
  void setPreedit(const QString& preedit, const QList<QInputMethodEvent::Attribute>& attributes);

  EditableText text_;
  DocumentMirror mirror_;
  QString placeholder_;
  QBasicTimer blink_;
  bool isCaretOn_ = false;
  QString pressedLink_;
  QList<QInputMethodEvent::Attribute> preeditLook_;
  struct Change {
    int position;
    int removed;
    int added;
  };
  std::optional<Change> foreign_;  // a change of Qt's document that the text does not know
  bool isShowing_ = false;         // the document is on its way to what the text has become
  bool selectionWaits_ = false;    // for the layout to come as far
  bool isComposing_ = false;       // in an event of the input method
};

}  // namespace pell
