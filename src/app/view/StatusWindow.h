#pragma once

#include <QLabel>
#include <QPushButton>
#include <QWidget>
#include <functional>
#include <string>

#include "app/StatusContent.h"

namespace pell {

/// The main window in its first, plain form: what the dictation does, who is signed in, a button that starts
/// and ends a dictation, and one that switches accessibility on where it is off. Closing it hides it; Pell
/// runs on in the tray.
class StatusWindow final : public QWidget {
 public:
  struct Actions {
    std::function<void()> toggle;
    std::function<void()> switchOnAccessibility;
  };
  explicit StatusWindow(Actions actions);

  void show(const StatusContent& content);

  /// A line about the account or the local store; empty hides it.
  void showNotice(const std::string& notice);

  void bringToFront();

 private:
  QLabel title_;
  QLabel detail_;
  QLabel notice_;
  QPushButton toggle_;
  QPushButton accessibility_{"Switch Accessibility On"};
};

}  // namespace pell
