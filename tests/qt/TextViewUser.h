// A user before the text view of the notes, and an eye on what it shows.
#pragma once

#include <QApplication>
#include <QClipboard>
#include <QDropEvent>
#include <QInputMethodEvent>
#include <QKeyEvent>
#include <QMimeData>
#include <QMouseEvent>
#include <QTextBlock>
#include <QTextDocument>
#include <QTextFragment>
#include <cmath>
#include <gtest/gtest.h>
#include <string>
#include <string_view>

#include "editor/RtfWriter.h"
#include "editor/view/NoteMimeData.h"
#include "editor/view/PellTextView.h"

namespace pell::testing {

class TextViewUser {
 public:
  explicit TextViewUser(PellTextView& view) : view_(view) {
    view_.resize(400, 300);
    view_.show();  // before that nothing has its place
  }

  PellTextView& view() { return view_; }
  QTextEdit& widget() { return view_; }
  QTextDocument& page() { return *widget().document(); }

  void press(int key, Qt::KeyboardModifiers held = Qt::NoModifier, const QString& text = {}) {
    QKeyEvent down(QEvent::KeyPress, key, held, text);
    QApplication::sendEvent(&view_, &down);
  }
  void type(std::u16string_view text) {
    for (std::size_t at = 0; at < text.size(); ++at) {
      const bool isPair = at + 1 < text.size() && QChar::isHighSurrogate(text[at]);
      press(Qt::Key_unknown, Qt::NoModifier,
            QString::fromStdU16String(std::u16string(text.substr(at, isPair ? 2 : 1))));
      if (isPair) ++at;
    }
  }
  void pressReturn() { press(Qt::Key_Return, Qt::NoModifier, "\r"); }
  void backspace() { press(Qt::Key_Backspace); }

  /// As Qt moves its caret for a user.
  void select(TextRange range) {
    QTextCursor cursor(&page());
    cursor.setPosition(static_cast<int>(range.location));
    cursor.setPosition(static_cast<int>(range.end()), QTextCursor::KeepAnchor);
    widget().setTextCursor(cursor);
  }

  void paste(const AttributedText& text) {
    auto* data = new QMimeData;
    data->setData("text/rtf", QByteArray::fromStdString(writeRtf(text)));
    data->setText("not this");
    paste(data);
  }
  /// The clipboard takes `data` over.
  void paste(QMimeData* data) {
    QApplication::clipboard()->setMimeData(data);
    press(Qt::Key_V, Qt::ControlModifier, "\x16");
  }

  void drop(const QMimeData& data, std::size_t position, Qt::DropAction action = Qt::CopyAction) {
    QTextCursor cursor(&page());
    cursor.setPosition(static_cast<int>(position));
    const QPoint point = widget().cursorRect(cursor).center();
    QDragEnterEvent entering(point, action, &data, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(widget().viewport(), &entering);
    if (!entering.isAccepted()) return;
    QDropEvent event(point, action, &data, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(widget().viewport(), &event);
  }

  /// The selection, held and let go before the character at `position`.
  void dragSelection(std::size_t position) {
    const EditableText& text = view_.document();
    const NoteMimeData data(text.storage().subtext(text.selectedRange()), &view_);
    drop(data, position, Qt::MoveAction);
  }

  void movePointer(QPoint point) { pointer(QEvent::MouseMove, point, Qt::NoButton); }
  void click(QPoint point) {
    pointer(QEvent::MouseButtonPress, point, Qt::LeftButton);
    pointer(QEvent::MouseButtonRelease, point, Qt::LeftButton);
  }

  void compose(std::u16string_view preedit, std::u16string_view commit = {}) {
    QInputMethodEvent event(QString::fromStdU16String(std::u16string(preedit)), {});
    event.setCommitString(QString::fromStdU16String(std::u16string(commit)));
    QApplication::sendEvent(&view_, &event);
  }
  QString preedit() { return widget().textCursor().block().layout()->preeditAreaText(); }

  // What is on screen.

  std::u16string shown() { return shownText().text(); }
  TextRange shownSelection() {
    const QTextCursor cursor = widget().textCursor();
    const auto start = static_cast<std::size_t>(cursor.selectionStart());
    return {start, static_cast<std::size_t>(cursor.selectionEnd()) - start};
  }
  AttributedText shownText() {
    AttributedText text;
    for (QTextBlock block = page().begin(); block.isValid(); block = block.next()) {
      const ParagraphStyle style = styleOf(block.blockFormat());
      for (auto at = block.begin(); !at.atEnd(); ++at) {
        TextAttributes attributes = attributesOf(at.fragment().charFormat());
        attributes.paragraphStyle = style;
        text.append(at.fragment().text().toStdU16String(), attributes);
      }
      if (block.next().isValid()) text.append(u"\n", TextAttributes{.paragraphStyle = style});
    }
    return text;
  }

 private:
  void pointer(QEvent::Type type, QPoint point, Qt::MouseButton button) {
    QWidget& under = *widget().viewport();
    const bool isRelease = type == QEvent::MouseButtonRelease;
    QMouseEvent event(type, point, under.mapToGlobal(QPointF(point)), button,
                      isRelease ? Qt::NoButton : button, Qt::NoModifier);
    QApplication::sendEvent(&under, &event);
  }

  static Rgb rgbOf(const QBrush& brush) {
    const QColor found = brush.color();
    return {static_cast<std::uint8_t>(found.red()), static_cast<std::uint8_t>(found.green()),
            static_cast<std::uint8_t>(found.blue())};
  }

  static TextAttributes attributesOf(const QTextCharFormat& format) {
    TextAttributes attributes;
    attributes.font = Font{.family = format.fontFamilies().toStringList().value(0).toStdString(),
                           .size = format.property(QTextFormat::FontPixelSize).toDouble(),
                           .weight = format.fontWeight(),
                           .italic = format.fontItalic()};
    attributes.foreground = rgbOf(format.foreground());
    if (format.hasProperty(QTextFormat::BackgroundBrush)) attributes.background = rgbOf(format.background());
    if (format.fontUnderline()) attributes.underline = 1;
    if (format.fontStrikeOut()) attributes.strikethrough = 1;
    if (format.isAnchor()) {
      attributes.link = format.anchorHref().toStdString();
      // Links have a colour of their own, whatever the text has.
      EXPECT_EQ(std::get<Rgb>(*attributes.foreground), rgb(PaletteColour::link, Appearance::light));
      attributes.foreground = rgb(PaletteColour::ink, Appearance::light);
    }
    return attributes;
  }

  static ParagraphStyle styleOf(const QTextBlockFormat& format) {
    ParagraphStyle style;
    if (format.lineHeightType() == QTextBlockFormat::ProportionalHeight) {
      style.lineHeight =
          static_cast<int>(std::lround(format.lineHeight() / 100 * ParagraphStyle::lineHeightUnit));
    }
    style.spacing = format.bottomMargin();
    style.headIndent = format.leftMargin();
    style.firstLineIndent = format.textIndent() + format.leftMargin();
    style.tailIndent = 0 - format.rightMargin();
    auto tabs = format.tabPositions();
    if (tabs.size() > QtTextFormats::generatedStops) tabs.resize(tabs.size() - QtTextFormats::generatedStops);
    for (const auto& tab : tabs) style.tabStops.push_back(tab.position + style.firstLineIndent);
    return style;
  }

  PellTextView& view_;
};

}  // namespace pell::testing
