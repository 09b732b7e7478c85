#pragma once

#include <QLabel>
#include <QPushButton>
#include <QWidget>
#include <functional>
#include <string>

#include "app/StatusContent.h"

namespace pell {

/// The main window in its first, plain form: what the dictation does, who is signed in, and a button that
/// switches accessibility on where it is off. Nothing here starts a dictation: with this window in front
/// there is no field that the words could go to. Closing it hides it; Pell runs on in the tray.
class StatusWindow final : public QWidget {
 public:
  explicit StatusWindow(std::function<void()> switchOnAccessibility);

  void show(const StatusContent& content);

  /// A line about the account or the local store; empty hides it.
  void showNotice(const std::string& notice);

  void bringToFront();

 private:
  QLabel title_;
  QLabel detail_;
  QLabel notice_;
  QPushButton accessibility_{"Switch Accessibility On"};
};

}  // namespace pell
