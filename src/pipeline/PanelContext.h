#pragma once

namespace pell {

/// Everything that decides what floats above other applications.
struct PanelContext {
  bool floatingPanelEnabled = false;  // the user wants the panel at all
  bool dictationBarEnabled = false;   // and the idle bar
  bool isIdle = true;                 // a message on show is not idle
  bool hasCoaching = false;
  bool pellIsActive = false;
  bool screenIsReady = false;  // past loading, sign-in and onboarding
  bool sectionIsNotes = false;
  bool operator==(const PanelContext&) const = default;
};

}  // namespace pell
