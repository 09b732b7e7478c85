#include <QApplication>
#include <QPushButton>
#include <gtest/gtest.h>

#include "app/view/StatusWindow.h"
#include "app/view/TrayItem.h"
#include "platform/qt/QtMainLoop.h"

namespace pell {
namespace {

TEST(StatusWindowTest, ShowsThePhaseAndItsButtonTogglesWithoutTakingTheFocus) {
  int toggles = 0, switchedOn = 0;
  StatusWindow window({.toggle = [&] { ++toggles; }, .switchOnAccessibility = [&] { ++switchedOn; }});
  window.show({.title = "Dictation failed",
               .detail = "<b>no</b> & none",
               .tooltip = {},
               .toggleTitle = "Start Dictation",
               .offersAccessibility = true});
  window.bringToFront();
  QStringList texts;
  for (auto* label : window.findChildren<QLabel*>()) {
    if (label->isVisible()) texts << label->text();
  }
  EXPECT_TRUE(texts.contains("Dictation failed"));
  EXPECT_TRUE(texts.contains("<b>no</b> & none"));
  auto buttons = window.findChildren<QPushButton*>();
  ASSERT_EQ(buttons.size(), 2);
  buttons[0]->click();
  EXPECT_EQ(toggles, 1);
  EXPECT_FALSE(buttons[0]->focusPolicy() & Qt::ClickFocus);
  EXPECT_TRUE(buttons[1]->isVisible());
  buttons[1]->click();
  EXPECT_EQ(switchedOn, 1);
  window.show(StatusContent{});
  EXPECT_FALSE(buttons[1]->isVisible());
}

TEST(StatusWindowTest, ClosingItHidesItAndItComesBack) {
  StatusWindow window({});
  window.bringToFront();
  EXPECT_TRUE(window.isVisible());
  window.close();
  EXPECT_FALSE(window.isVisible());
  window.bringToFront();
  EXPECT_TRUE(window.isVisible());
}

}  // namespace
}  // namespace pell
