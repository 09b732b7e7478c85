// What the screens of the two permissions say, in the onboarding and in the repair sheet.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "app/OnboardingStep.h"
#include "app/ReauthorizationState.h"
#include "platform/Words.h"

namespace pell {

enum class PermissionAction {
  requestMicrophoneAccess,
  openMicrophoneSettings,
  recheckMicrophoneDevice,
  beginAccessibilityRequest,
  openAccessibilitySettings,
  quitApp,
};

struct PermissionContent {
  struct Button {
    std::string title;
    PermissionAction action;
    bool operator==(const Button&) const = default;
  };
  /// A picture of the desktop's list of permissions: our row, and one of another application.
  struct SettingsRows {
    std::string appName;
    std::string otherApp;
    bool operator==(const SettingsRows&) const = default;
  };
  struct Help {
    std::string heading;
    std::vector<std::string> lines;
    bool operator==(const Help&) const = default;
  };

  std::string heading;
  std::vector<std::string> paragraphs;
  std::optional<SettingsRows> illustration;  // absent where the desktop has no such list
  std::optional<Help> help;
  std::optional<Button> button;
  std::string belowButton;     // may be empty
  std::optional<Button> link;  // the way out of the program
  bool isDone = false;         // a check mark, and nothing left to do
  bool operator==(const PermissionContent&) const = default;
};

/// `embedded` is for the sheet, which can be closed and so offers no way out of the program.
PermissionContent microphoneContent(PermissionState state, bool embedded, const Words& words);
PermissionContent accessibilityContent(PermissionState state, bool embedded, const Words& words);

/// The repair sheet.
PermissionContent reauthorizationContent(const ReauthorizationState& state, const Words& words);

}  // namespace pell
