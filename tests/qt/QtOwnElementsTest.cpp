#include <QApplication>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QTextEdit>
#include <gtest/gtest.h>

#include "platform/qt/QtOwnElements.h"

namespace pell {
namespace {

/// Shows `widget` with the keyboard's focus and gives its element.
AccessibilityElementRef focus(QWidget& widget) {
  widget.show();
  widget.activateWindow();
  widget.setFocus();
  QApplication::setActiveWindow(&widget);
  QApplication::processEvents();
  return QtOwnElements().focusedElement();
}

bool isSecure(AccessibilityElement& element) {
  auto reading = element.copyAttribute(accessibility::subrole);
  auto* subrole = std::get_if<std::string>(&reading.value);
  return subrole && *subrole == accessibility::secureTextField;
}

TEST(QtOwnElementsTest, TextGoesInAtTheCaretOfEveryEditableWidget) {
  const char* inserted = "नमस्ते 👋🏽";
  QLineEdit line("ab");
  QTextEdit rich("ab");
  QPlainTextEdit plain("ab");
  for (QWidget* widget : std::initializer_list<QWidget*>{&line, &rich, &plain}) {
    auto element = focus(*widget);
    ASSERT_TRUE(element);
    line.setCursorPosition(1);
    EXPECT_TRUE(element->isSettable(accessibility::selectedText).settable);
    EXPECT_EQ(element->setAttribute(accessibility::selectedText, inserted), AccessibilityError::success);
    EXPECT_FALSE(isSecure(*element));
  }
  EXPECT_EQ(line.text().toStdString(), std::string("a") + inserted + "b");
  EXPECT_TRUE(rich.toPlainText().contains(inserted));
  EXPECT_TRUE(plain.toPlainText().contains(inserted));
}

TEST(QtOwnElementsTest, HiddenContentIsSecureAndReadOnlyContentIsLeftAlone) {
  QLineEdit line("x");
  line.setEchoMode(QLineEdit::Password);
  EXPECT_TRUE(isSecure(*focus(line)));
  line.setEchoMode(QLineEdit::Normal);
  line.setReadOnly(true);
  auto element = focus(line);
  EXPECT_FALSE(element->isSettable(accessibility::selectedText).settable);
  EXPECT_NE(element->setAttribute(accessibility::selectedText, "y"), AccessibilityError::success);
  EXPECT_EQ(line.text(), "x");
}

TEST(QtOwnElementsTest, AWidgetThatWentAwayIsAnInvalidElement) {
  auto line = std::make_unique<QLineEdit>();
  auto element = focus(*line);
  line.reset();
  EXPECT_EQ(element->setAttribute(accessibility::selectedText, "y"), AccessibilityError::invalidElement);
  EXPECT_EQ(element->copyAttribute(accessibility::role).error, AccessibilityError::invalidElement);
}

}  // namespace
}  // namespace pell
