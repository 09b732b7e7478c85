// What the duties of the application model share.
#pragma once

#include <optional>
#include <set>
#include <string>
#include <string_view>

#include "app/AppSection.h"
#include "async/Observable.h"
#include "server/Records.h"

namespace pell {

/// The state that more than one duty reads or writes; what one duty owns is its own member. Screens
/// subscribe to it. Main thread only.
struct AppState {
  /// The top-level screen.
  enum class Screen { loading, signedOut, onboarding, ready };

  Observable<Screen> screen{Screen::loading};
  Observable<std::optional<Account>> account;
  Observable<std::optional<UsageStats>> usage;
  Observable<AppSection> section{AppSection::dictation};

  /// The one line of news that the window shows. It has one slot: the latest writer wins.
  Observable<std::optional<std::string>> banner;

  /// Identifiers of the milestones that this account has earned, as far as is known.
  Observable<std::set<std::string>> unlockedMilestones;

  // The two grants as they were last compared. Absent: the next comparison finds a change.
  std::optional<bool> lastKnownMicrophone;
  std::optional<bool> lastKnownAccessibility;
};

/// The screen's name in the log.
std::string_view logLabel(AppState::Screen screen);

/// Whoever has this one has dictated before.
inline constexpr std::string_view firstWordMilestone = "words.1";

}  // namespace pell
