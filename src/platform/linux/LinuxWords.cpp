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

    // the two permissions; no desktop here has a list of the programs that were given one
    LinuxWording{"Zoom", ""},
    LinuxWording{"Raycast", ""},
    LinuxWording{
        "Audio is never stored, not on this Mac and not on Pell's servers. Only the text it becomes is "
        "kept.",
        "Audio is never stored, not on this computer and not on Pell's servers. Only the text it "
        "becomes is kept."},
    LinuxWording{
        "macOS only offers that choice once, so it has to be switched on by hand. It takes about five "
        "seconds.",
        "Your desktop's sound server does not let Pell record, so it has to be switched on by hand. It "
        "takes about five seconds."},
    LinuxWording{"Your Mac won't allow microphone access", "This computer won't allow microphone access"},
    LinuxWording{"This Mac is managed, and microphone access is switched off for every app. Pell can't work "
                 "until an administrator changes that.",
                 "This computer is managed, and microphone access is switched off for every app. Pell can't "
                 "work until an administrator changes that."},
    LinuxWording{"macOS calls this Accessibility. It's the permission that lets Pell put your words into "
                 "whatever app you're working in: Mail, Slack, a browser, anything.",
                 "Your desktop calls this accessibility. It's the service that lets Pell put your words into "
                 "whatever app you're working in: mail, a chat, a browser, anything."},
    LinuxWording{
        "Pell uses it to watch for your dictation key, to place finished text, and to check you are not "
        "typing into a password field, where it refuses. It does not read what is on your screen, and "
        "nothing it checks ever leaves your Mac.",
        "Pell uses it to watch for your dictation key, to place finished text, and to check you are not "
        "typing into a password field, where it refuses. It does not read what is on your screen, and "
        "nothing it checks ever leaves your computer."},
    LinuxWording{"Find Pell in the list", "Switching accessibility on"},
    LinuxWording{"Switch it on in System Settings. Pell will notice by itself.",
                 "Pell has asked your desktop for it, and will notice by itself."},
    LinuxWording{
        "Switch it on and come straight back. Pell will notice by itself.",
        "Pell has asked your desktop to switch it on, and will notice by itself. There is nothing more "
        "to do unless it takes long."},
    LinuxWording{
        "1. Pell isn't in the list. Press +, choose Pell in Applications, and it will appear switched "
        "on.",
        "1. Log out and in again. Pell has asked for accessibility from the next login on."},
    LinuxWording{"2. Pell is there but switched off. Click the toggle.",
                 "2. In the accessibility settings, switch the screen reader on and off again. It starts the "
                 "same service."},
    LinuxWording{"3. Switched on and still nothing. Switch Pell off and then on again. macOS ties this "
                 "permission to the exact copy of the app, and it can hold on to an older one.",
                 "3. Switched on and still nothing. The session may not let programs watch keys and type; "
                 "Pell's log says what is missing."},

    // where the program and its data stand
    LinuxWording{
        "macOS is running Pell from a temporary copy, which is what happens when an app is opened "
        "straight from the disk image it arrived in.",
        "Pell is running from a temporary copy, which is what happens when an app is opened straight "
        "from the disk image it arrived in."},
    LinuxWording{
        "Two things go wrong from there. The permission that lets the hotkey work anywhere on your Mac "
        "is tied to where Pell lives, and this location changes every time you open it, so Pell will "
        "keep asking for a permission you have already given. Updates cannot install either.",
        "Two things go wrong from there. The permission that lets the hotkey work anywhere on your "
        "computer is tied to where Pell lives, and this location changes every time you open it, so "
        "Pell will keep asking for a permission you have already given. Updates cannot install "
        "either."},
    LinuxWording{
        "Your notes and your dictation history are not part of the app. They stay on this Mac exactly "
        "where they are, whatever you do next.",
        "Your notes and your dictation history are not part of the app. They stay on this computer "
        "exactly where they are, whatever you do next."},
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
