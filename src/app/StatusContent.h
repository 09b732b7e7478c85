// What the tray item and the plain window say about the dictation.
#pragma once

#include <optional>
#include <string>

#include "pipeline/DictationPhase.h"
#include "pipeline/HotKeyTrigger.h"
#include "platform/Words.h"

namespace pell {

struct StatusContent {
  std::string title;   // the phase in one line
  std::string detail;  // how to go on, or the whole of a failure
  std::string tooltip;
  std::string toggleTitle;  // the menu item that starts and ends a dictation
  bool canCancel = false;
  bool offersAccessibility = false;  // it is off, and a press of a button switches it on
  bool operator==(const StatusContent&) const = default;
};

struct StatusInput {
  DictationPhase phase;
  bool isPolishing = false;
  HotKeyTrigger trigger = HotKeyTrigger::holdOption;
  bool hasAccessibility = true;
};

StatusContent statusContent(const StatusInput& input, const Words& words);

/// The line about the account: who is signed in, or how to sign in. `email` is absent without a session.
std::string accountNotice(const std::optional<std::string>& email);

}  // namespace pell
