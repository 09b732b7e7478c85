#include "localserver/Achievements.h"

#include <algorithm>
#include <utility>

#include "localserver/ApiError.h"

namespace pell::localserver {

Achievements::Achievements(Storage& storage, WallNow now) : storage_(storage), now_(std::move(now)) {}

std::vector<std::string> Achievements::award(const std::string& userId) {
  std::vector<std::string> fresh;
  storage_.atomically([&] {
    const UsageRecord total = storage_.lifetimeUsage(userId);
    const auto known = storage_.unlocked(userId);
    for (const Milestone& milestone : catalogue_) {
      if (milestone.kind == Milestone::Kind::action || known.contains(milestone.id)) continue;
      const double reached =
          milestone.kind == Milestone::Kind::words ? static_cast<double>(total.words) : total.seconds;
      if (reached < static_cast<double>(milestone.threshold)) continue;
      if (storage_.unlock(userId, milestone.id, now_())) fresh.push_back(milestone.id);
    }
  });
  return fresh;
}

std::vector<std::string> Achievements::report(const std::string& userId, const std::string& id) {
  const bool isAction = std::any_of(catalogue_.begin(), catalogue_.end(), [&](const Milestone& milestone) {
    return milestone.id == id && milestone.kind == Milestone::Kind::action;
  });
  if (!isAction) throw Refusal({400, "UNKNOWN_MILESTONE", "There is no such milestone to report."});
  if (!storage_.unlock(userId, id, now_())) return {};
  return {id};
}

Achievements::Shelf Achievements::shelf(const std::string& userId) {
  const auto words = storage_.lifetimeUsage(userId).words;
  const auto next = std::find_if(catalogue_.begin(), catalogue_.end(), [&](const Milestone& milestone) {
    return milestone.kind == Milestone::Kind::words && milestone.threshold > words;
  });
  const double progress =
      next == catalogue_.end() ? 1.0 : static_cast<double>(words) / static_cast<double>(next->threshold);
  return {.unlocked = storage_.unlocked(userId), .progress = progress};
}

}  // namespace pell::localserver
