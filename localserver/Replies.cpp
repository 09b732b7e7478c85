#include "localserver/Replies.h"

#include "localserver/Times.h"

namespace pell::localserver {
namespace {

using nlohmann::json;

json countsJson(const UsageRecord& usage) {
  return {{"dictations", usage.dictations},
          {"words", usage.words},
          {"characters", usage.characters},
          {"seconds", usage.seconds}};
}

json milestoneJson(const Milestone& milestone, const std::map<std::string, UnixSeconds>& unlocked) {
  json item = {{"id", milestone.id},
               {"title", milestone.title},
               {"blurb", milestone.blurb},
               {"icon", milestone.icon},
               {"threshold", milestone.threshold}};
  const auto found = unlocked.find(milestone.id);
  if (found != unlocked.end()) item["unlockedAt"] = isoTime(found->second);
  return item;
}

const char* shelfOf(Milestone::Kind kind) {
  switch (kind) {
    case Milestone::Kind::action:
      return "actions";
    case Milestone::Kind::words:
      return "badges";
    case Milestone::Kind::seconds:
      return "timeMilestones";
  }
  return "";
}

}  // namespace

json sessionJson(const SignedIn& signedIn, const Plan& plan) {
  return {{"accessToken", signedIn.tokens.access},
          {"refreshToken", signedIn.tokens.refresh},
          {"expiresIn", static_cast<double>(signedIn.tokens.accessLifetime.count())},
          {"user",
           {{"id", signedIn.user.id},
            {"email", signedIn.user.email},
            {"plan", plan.id},
            {"isAdmin", signedIn.user.isAdmin}}}};
}

json preferencesJson(const UserRecord& user) {
  json preferences = {{"cleanupEnabled", user.cleanupEnabled}};
  if (user.cleanupPromptVersion) preferences["cleanupPromptVersion"] = *user.cleanupPromptVersion;
  return preferences;
}

json accountJson(const UserRecord& user, const Plan& plan) {
  json account = {
      {"id", user.id},
      {"email", user.email},
      {"isAdmin", user.isAdmin},
      {"plan",
       {{"id", plan.id}, {"displayName", plan.displayName}, {"minutesPerMonth", plan.minutesPerMonth}}},
      {"createdAt", isoTime(user.createdAt)},
      {"emailVerified", user.emailVerified}};
  account.update(preferencesJson(user));
  return account;
}

json quotaJson(const Quota& quota) {
  return {{"minutesPerMonth", quota.plan.minutesPerMonth},
          {"usedSeconds", quota.usedSeconds},
          {"remainingSeconds", quota.remainingSeconds},
          {"allowanceSeconds", quota.allowanceSeconds}};
}

json usageJson(const UsageReport& report) {
  json period = countsJson(report.inMonth);
  period["start"] = isoTime(report.month.start);
  period["end"] = isoTime(report.month.end);
  return {{"lifetime", countsJson(report.lifetime)},
          {"period", period},
          {"quota",
           {{"minutesPerMonth", report.quota.plan.minutesPerMonth},
            {"allowanceSeconds", report.quota.allowanceSeconds},
            {"remainingSeconds", report.quota.remainingSeconds}}},
          {"plan", {{"id", report.quota.plan.id}, {"displayName", report.quota.plan.displayName}}}};
}

json shelfJson(std::span<const Milestone> catalogue, const Achievements::Shelf& shelf) {
  json reply = {{"badges", json::array()},
                {"actions", json::array()},
                {"timeMilestones", json::array()},
                {"progress", shelf.progress}};
  for (const Milestone& milestone : catalogue) {
    reply[shelfOf(milestone.kind)].push_back(milestoneJson(milestone, shelf.unlocked));
  }
  return reply;
}

}  // namespace pell::localserver
