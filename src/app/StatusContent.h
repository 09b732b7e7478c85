// What the tray item and the plain window say about the dictation.
#pragma once

#include <optional>
#include <string>

#include "app/AppState.h"
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

/// The line below: the news, if there is any, else who is signed in, or how to sign in. Empty until that is
/// known.
std::string windowNotice(const AppState& state);

}  // namespace pell
