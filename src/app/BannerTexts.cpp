#include "app/BannerTexts.h"

namespace pell {

BannerTexts::BannerTexts(const Words& words)
    : copied("Copied to the clipboard."),
      savedAsNote("Saved as a note."),
      historyCleared("Dictation history cleared."),
      confirmEmail(
          "Confirm your email address so you can get back in if you forget your password. If it is not in "
          "your inbox, check your spam or junk folder."),
      signInUnread(
          words("macOS was still asking permission for Pell's keychain item, so your saved sign-in could not "
                "be read. Sign in to continue.")),
      signInRemoved(words(
          "macOS would not let Pell read your saved sign-in, so it has been removed. Sign in again, and "
          "choose Always Allow if macOS asks.")),
      signedOut("You have been signed out. Sign in to continue.") {}

const std::string& BannerTexts::forLostSession(Keychain::ReadOutcome outcome) const {
  switch (outcome) {
    case Keychain::ReadOutcome::timedOut:
      return signInUnread;
    case Keychain::ReadOutcome::refused:
      return signInRemoved;
    case Keychain::ReadOutcome::ok:
    case Keychain::ReadOutcome::absent:
      break;
  }
  return signedOut;
}

}  // namespace pell
