#include "app/AccountPages.h"

#include <cmath>
#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "app/Printable.h"
#include "styles/StyleCatalogue.h"

namespace pell {
namespace {

using Json = nlohmann::ordered_json;

template <class T>
Json orNull(const std::optional<T>& value) {
  return value ? Json(*value) : Json(nullptr);
}

std::string dump(const Json& value) {
  return value.dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
}

std::string minutes(double seconds) { return fmt::format("{:.1f} min", seconds / 60); }

template <class Window>
std::string countsText(const Window& window) {
  return fmt::format("{} dictations, {} words, {} characters, {}", window.dictations, window.words,
                     window.characters, minutes(window.seconds));
}

Json itemsJson(const std::vector<AchievementItem>& items) {
  Json list = Json::array();
  for (const AchievementItem& item : items) {
    list.push_back({{"id", item.id},
                    {"title", item.title},
                    {"blurb", item.blurb},
                    {"icon", item.icon},
                    {"threshold", item.threshold},
                    {"unlockedAt", orNull(item.unlockedAt)}});
  }
  return list;
}

std::string itemsText(const AchievementShelf& shelf, bool unlocked) {
  std::string text;
  for (const auto* items : {&shelf.actions, &shelf.badges, &shelf.timeMilestones}) {
    for (const AchievementItem& item : *items) {
      if (item.unlockedAt.has_value() != unlocked) continue;
      text +=
          fmt::format("  {}  {}. {}\n", unlocked ? "*" : "-", printable(item.title), printable(item.blurb));
    }
  }
  return text;
}

}  // namespace

std::string AccountPages::text(const Account& account) {
  return fmt::format(
      "{}{}\n  Plan      {}, {} minutes a month\n  Cleanup   {}\n  Style     {}\n  Address   {}\n  Since     "
      "{}\n",
      printable(account.email), account.isAdmin ? " (administrator)" : "",
      printable(account.plan.displayName), account.plan.minutesPerMonth,
      account.cleanupEnabled ? "on" : "off",
      account.cleanupPromptVersion ? printable(*account.cleanupPromptVersion) : "the server's default",
      account.emailVerified ? "confirmed" : "not confirmed yet", printable(account.createdAt));
}

std::string AccountPages::json(const Account& account) {
  return dump({{"id", account.id},
               {"email", account.email},
               {"isAdmin", account.isAdmin},
               {"cleanupEnabled", account.cleanupEnabled},
               {"cleanupPromptVersion", orNull(account.cleanupPromptVersion)},
               {"plan",
                {{"id", account.plan.id},
                 {"displayName", account.plan.displayName},
                 {"minutesPerMonth", account.plan.minutesPerMonth}}},
               {"createdAt", account.createdAt},
               {"emailVerified", account.emailVerified}});
}

std::string AccountPages::text(const UsageStats& usage) {
  return fmt::format(
      "This period ({} to {})\n  {}\n  {} of {} left, plan {}\nSince the account began\n  {}\n",
      printable(usage.period.start), printable(usage.period.end), countsText(usage.period),
      minutes(usage.quota.remainingSeconds), minutes(usage.quota.allowanceSeconds),
      printable(usage.plan.displayName), countsText(usage.lifetime));
}

std::string AccountPages::json(const UsageStats& usage) {
  auto counts = [](const auto& window) {
    return Json{{"dictations", window.dictations},
                {"words", window.words},
                {"characters", window.characters},
                {"seconds", window.seconds}};
  };
  Json period{{"start", usage.period.start}, {"end", usage.period.end}};
  period.update(counts(usage.period));
  return dump({{"lifetime", counts(usage.lifetime)},
               {"period", period},
               {"quota",
                {{"minutesPerMonth", usage.quota.minutesPerMonth},
                 {"allowanceSeconds", usage.quota.allowanceSeconds},
                 {"remainingSeconds", usage.quota.remainingSeconds}}},
               {"plan", {{"id", usage.plan.id}, {"displayName", usage.plan.displayName}}}});
}

std::string AccountPages::text(const CleanupStyleCatalogue& catalogue) {
  std::string text;
  for (const auto& group :
       StyleCatalogue::grouped(catalogue.styles, catalogue.groups.value_or(std::vector<std::string>()))) {
    text += printable(group.name) + "\n";
    for (const DictationStyle& style : group.styles) {
      text += fmt::format("  {} {:<36} {}. {}\n", style.id == catalogue.serverDefault ? "*" : " ",
                          printable(style.id), printable(style.title), printable(style.description));
    }
  }
  return text.empty() ? "The server offers no styles.\n" : text;
}

std::string AccountPages::json(const CleanupStyleCatalogue& catalogue) {
  Json styles = Json::array();
  for (const DictationStyle& style : catalogue.styles) {
    styles.push_back({{"id", style.id},
                      {"title", style.title},
                      {"description", style.description},
                      {"group", orNull(style.group)},
                      {"supersedes", orNull(style.supersedes)}});
  }
  return dump(
      {{"styles", styles}, {"groups", orNull(catalogue.groups)}, {"serverDefault", catalogue.serverDefault}});
}

std::string AccountPages::text(const AchievementShelf& shelf) {
  return fmt::format("Earned\n{}To come ({:.0f}% of the way to the next)\n{}", itemsText(shelf, true),
                     std::floor(shelf.progress * 100), itemsText(shelf, false));
}

std::string AccountPages::json(const AchievementShelf& shelf) {
  return dump({{"badges", itemsJson(shelf.badges)},
               {"actions", itemsJson(shelf.actions)},
               {"timeMilestones", itemsJson(shelf.timeMilestones)},
               {"progress", shelf.progress}});
}

}  // namespace pell
