// The two grants that dictation needs of the platform, in one place.
#pragma once

#include <functional>

#include "platform/AudioCapture.h"

namespace pell {

class AccessibilityTree;
class Workspace;

/// Reads cost nothing and keep nothing: each gives what the platform says at this moment. Main thread.
class Permissions {
 public:
  Permissions(AccessibilityTree& accessibility, AudioCapture& audio, Workspace& workspace)
      : accessibility_(accessibility), audio_(audio), workspace_(workspace) {}

  bool hasAccessibility() const;
  MicrophoneAuthorization microphoneStatus() const;
  bool hasMicrophone() const;
  bool hasMicrophoneDevice() const;

  /// Asks for the accessibility grant, with the platform's prompt. True if it was there already.
  bool requestAccessibility();

  /// Asks the user for the microphone. The answer may come on any thread, once; false only where access was
  /// refused.
  void requestMicrophone(std::function<void(bool granted)> answer);

  /// Open the places where the user can grant these by hand. A place that does not open goes unnoticed.
  void openAccessibilitySettings();
  void openMicrophoneSettings();

 private:
  AccessibilityTree& accessibility_;
  AudioCapture& audio_;
  Workspace& workspace_;
};

}  // namespace pell
