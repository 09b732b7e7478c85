#include <QApplication>
#include <QPushButton>
#include <gtest/gtest.h>

#include "app/view/StatusWindow.h"
#include "app/view/TrayItem.h"
#include "platform/qt/QtMainLoop.h"

namespace pell {
namespace {

TEST(StatusWindowTest, ShowsThePhaseAndItsButtonTogglesWithoutTakingTheFocus) {
  int toggles = 0;
  StatusWindow window([&] { ++toggles; });
  window.show({.title = "Dictation failed",
               .detail = "<b>no</b> & none",
               .tooltip = {},
               .toggleTitle = "Start Dictation"});
  window.bringToFront();
  QStringList texts;
  for (auto* label : window.findChildren<QLabel*>()) {
    if (label->isVisible()) texts << label->text();
  }
  EXPECT_TRUE(texts.contains("Dictation failed"));
  EXPECT_TRUE(texts.contains("<b>no</b> & none"));
  auto* button = window.findChild<QPushButton*>();
  ASSERT_TRUE(button);
  button->click();
  EXPECT_EQ(toggles, 1);
  EXPECT_FALSE(button->focusPolicy() & Qt::ClickFocus);
}

TEST(StatusWindowTest, ClosingItHidesItAndItComesBack) {
  StatusWindow window([] {});
  window.bringToFront();
  EXPECT_TRUE(window.isVisible());
  window.close();
  EXPECT_FALSE(window.isVisible());
  window.bringToFront();
  EXPECT_TRUE(window.isVisible());
}

}  // namespace
}  // namespace pell
