#include <QApplication>
#include <QPushButton>
#include <gtest/gtest.h>

#include "app/view/StatusWindow.h"
#include "app/view/TrayItem.h"
#include "platform/qt/QtMainLoop.h"

namespace pell {
namespace {

TEST(StatusWindowTest, ShowsThePhaseAsItStandsAndOffersAccessibilityWhereItIsOff) {
  int switchedOn = 0;
  StatusWindow window([&] { ++switchedOn; });
  window.show({.title = "Dictation failed", .detail = "<b>no</b> & none", .offersAccessibility = true});
  window.bringToFront();
  QStringList texts;
  for (auto* label : window.findChildren<QLabel*>()) {
    if (label->isVisible()) texts << label->text();
  }
  EXPECT_TRUE(texts.contains("Dictation failed"));
  EXPECT_TRUE(texts.contains("<b>no</b> & none"));
  auto* button = window.findChild<QPushButton*>();
  ASSERT_TRUE(button && button->isVisible());
  button->click();
  EXPECT_EQ(switchedOn, 1);
  window.show(StatusContent{});
  EXPECT_FALSE(button->isVisible());
}

TEST(StatusWindowTest, ClosingItHidesItAndItComesBack) {
  StatusWindow window(nullptr);
  window.bringToFront();
  EXPECT_TRUE(window.isVisible());
  window.close();
  EXPECT_FALSE(window.isVisible());
  window.bringToFront();
  EXPECT_TRUE(window.isVisible());
}

}  // namespace
}  // namespace pell
