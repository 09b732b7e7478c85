#pragma once

#include <string>

#include "platform/Words.h"
#include "stores/Keychain.h"

namespace pell {

/// The banners that are recognised again later, in the platform's wording. Whoever shows one and whoever
/// looks for it use the same object.
struct BannerTexts {
  explicit BannerTexts(const Words& words);

  // What the user asked for was done.
  std::string copied;
  std::string savedAsNote;
  std::string historyCleared;

  // The user has something to do.
  std::string confirmEmail;
  std::string signInUnread;   // the keychain did not answer in time
  std::string signInRemoved;  // the keychain refused
  std::string signedOut;

  /// Why the user has to sign in again.
  const std::string& forLostSession(Keychain::ReadOutcome outcome) const;
};

}  // namespace pell
