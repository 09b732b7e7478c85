#include "app/UsageSync.h"

#include <utility>

#include "server/ApiClient.h"
#include "stores/Log.h"

namespace pell {

UsageSync::UsageSync(Collaborators collaborators) : with_(std::move(collaborators)) {}

Task<void> UsageSync::reloadUsage() {
  if (!with_.state.account.get()) co_return;
  isLoading_ = true;
  try {
    auto usage = co_await with_.api.usage();
    with_.state.usage = std::move(usage);
  } catch (const std::exception& failure) {
    with_.onFailure.failed(failure, "usage_reload_failed");
  }
  isLoading_ = false;
}

Task<void> UsageSync::reloadAchievements() {
  if (!with_.state.account.get()) co_return;
  try {
    const AchievementShelf shelf = co_await with_.api.achievements();
    std::set<std::string> unlocked;
    for (const auto* items : {&shelf.badges, &shelf.actions, &shelf.timeMilestones}) {
      for (const AchievementItem& item : *items) {
        if (item.unlockedAt) unlocked.insert(item.id);
      }
    }
    with_.state.unlockedMilestones = std::move(unlocked);
  } catch (const std::exception& failure) {
    with_.onFailure.failed(failure, "achievements_reload_failed");
  }
}

Task<void> UsageSync::reportAction(std::string id) {
  if (!with_.state.account.get() || with_.state.unlockedMilestones.get().contains(id)) co_return;
  try {
    const std::vector<std::string> unlocked = co_await with_.api.reportAchievement(id);
    if (unlocked.empty()) {
      noteUnlocked({id});
    } else {
      noteUnlocked(unlocked);
      const bool isOnboarding = with_.state.screen.get() == AppState::Screen::onboarding;
      if (!isOnboarding && onMilestonesUnlocked) onMilestonesUnlocked(unlocked);
    }
  } catch (const std::exception& failure) {
    with_.log.warn("achievement_report_failed", {{"reason", failure.what()}});
  }
}

void UsageSync::noteUnlocked(const std::vector<std::string>& ids) {
  std::set<std::string> unlocked = with_.state.unlockedMilestones.get();
  unlocked.insert(ids.begin(), ids.end());
  with_.state.unlockedMilestones = std::move(unlocked);
}

std::int64_t UsageSync::lifetimeWords() const {
  const auto& usage = with_.state.usage.get();
  return usage ? usage->lifetime.words : 0;
}

std::optional<Badges::Milestone> UsageSync::currentBadge() const { return Badges::badge(lifetimeWords()); }

}  // namespace pell
