#pragma once

#include <QMenu>
#include <QSystemTrayIcon>
#include <functional>

#include "app/StatusContent.h"
#include "async/Executor.h"
#include "shell/Mark.h"

namespace pell {

/// The item in the desktop's tray: a mark that pulses while the microphone is open or a transcript is
/// awaited, a tooltip with the phase and its message, and a menu. Main thread.
class TrayItem {
 public:
  struct Actions {
    std::function<void()> toggle;
    std::function<void()> cancel;
    std::function<void()> open;
    std::function<void()> quit;
  };

  TrayItem(Executor& main, Actions actions);

  void show(const StatusContent& content, mark::MenuBarPhase phase);

 private:
  void setPhase(mark::MenuBarPhase phase);
  void draw(double opacity);

  Executor& main_;
  QMenu menu_;
  QAction* toggle_;
  QAction* cancel_;
  QSystemTrayIcon icon_;
  mark::MenuBarPhase phase_ = mark::MenuBarPhase::idle;
  Instant pulseStart_{};
  RepeatingTimer pulse_;
};

}  // namespace pell
