#include "platform/linux/LinuxWords.h"

#include <array>

namespace pell {

namespace {

constexpr std::array wordings{
    // the triggers
    LinuxWording{"Hold ⌥ · double-tap for hands-free", "Hold Alt · double-tap for hands-free"},
    LinuxWording{"⌥", "Alt"},
    LinuxWording{"Hold Fn (globe)", "Hold Fn"},
    LinuxWording{"fn", "Fn"},
    LinuxWording{"Hold Right ⌘", "Hold Right Super"},
    LinuxWording{"right ⌘", "right Super"},
    LinuxWording{"⌃⌥Space to start and stop", "Ctrl+Alt+Space to start and stop"},
    LinuxWording{"⌃⌥Space", "Ctrl+Alt+Space"},

    // what is said after a dictation
    LinuxWording{"Copied. Press ⌘V", "Copied. Press Ctrl+V"},
    LinuxWording{
        "Pell needs Accessibility access to type for you. The text is on your clipboard. Press ⌘V.",
        "Pell needs accessibility switched on to type for you. The text is on your clipboard. Press Ctrl+V."},
    LinuxWording{"Pell could not paste into that app. The text is on your clipboard. Press ⌘V.",
                 "Pell could not paste into that app. The text is on your clipboard. Press Ctrl+V."},
    LinuxWording{"Pell could not type into that app. The text is on your clipboard. Press ⌘V.",
                 "Pell could not type into that app. The text is on your clipboard. Press Ctrl+V."},
    LinuxWording{"Pell needs microphone access. Open System Settings › Privacy & Security › Microphone and "
                 "switch Pell on.",
                 "Pell needs microphone access. Let it record in your desktop's sound or privacy settings "
                 "and try again."},

    // why a saved sign-in is gone
    LinuxWording{
        "macOS was still asking permission for Pell's keychain item, so your saved sign-in could not be "
        "read. Sign in to continue.",
        "Your keyring was still locked, so your saved sign-in could not be read. Sign in to continue."},
    LinuxWording{
        "macOS would not let Pell read your saved sign-in, so it has been removed. Sign in again, and "
        "choose Always Allow if macOS asks.",
        "Your keyring would not let Pell read your saved sign-in, so it has been removed. Sign in again, "
        "and unlock the keyring if it asks."},

    // what is said of a milestone
    LinuxWording{"Pell can type into any app on your Mac.", "Pell can type into any app on your computer."},
};

}  // namespace

std::span<const LinuxWording> linuxWordings() { return wordings; }

Words linuxWords() {
  return [](std::string_view text) {
    for (const auto& wording : wordings) {
      if (wording.product == text) return std::string(wording.here);
    }
    return std::string(text);
  };
}

}  // namespace pell
