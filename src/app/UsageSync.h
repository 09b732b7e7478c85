// The server's count of what the user dictates, and the milestones that it awards.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "app/AppState.h"
#include "app/ReloadRule.h"
#include "async/Task.h"
#include "progress/Badges.h"

namespace pell {

class ApiClient;
class Log;

/// Mirrors the usage figures for the screens, keeps the set of milestones that are known to be unlocked, and
/// reports the actions that earn one. Failures of the reloads follow the `ReloadRule`. An answer that comes
/// after a sign-out is still taken.
///
/// Main thread only.
class UsageSync {
 public:
  struct Collaborators {
    AppState& state;
    ApiClient& api;
    ReloadRule onFailure;
    const Log& log;
  };

  explicit UsageSync(Collaborators collaborators);

  /// Milestones that a report unlocked, outside the onboarding.
  std::function<void(const std::vector<std::string>&)> onMilestonesUnlocked;

  /// True while the figures are being read.
  const Observable<bool>& isLoading() const { return isLoading_; }

  // Each asks the server only if somebody is signed in.
  Task<void> reloadUsage();
  /// Replaces the set by what the server knows.
  Task<void> reloadAchievements();
  /// Once for each milestone that is not unlocked yet; reports that overlap are both sent.
  Task<void> reportAction(std::string id);

  /// Adds milestones that came with a transcript.
  void noteUnlocked(const std::vector<std::string>& ids);

  /// 0 until the figures were read.
  std::int64_t lifetimeWords() const;
  std::optional<Badges::Milestone> currentBadge() const;

 private:
  Collaborators with_;
  Observable<bool> isLoading_;
};

}  // namespace pell
