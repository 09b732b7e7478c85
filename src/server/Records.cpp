#include "server/Records.h"

#include "server/Wire.h"

namespace pell {

void decode(const WireObject& object, TranscriptionResult& result) {
  object.required("transcript", result.transcript);
  object.required("paragraphs", result.paragraphs);
  object.required("rawTranscript", result.rawTranscript);
  object.optional("cleanupPromptVersionTitle", result.cleanupPromptVersionTitle);
  object.required("durationSeconds", result.durationSeconds);
  object.required("words", result.words);
  object.required("characters", result.characters);
  object.optional("confidence", result.confidence);
  object.required("language", result.language);
  object.optional("unlocked", result.unlocked);
  object.required("quota", result.quota);
}

void decode(const WireObject& object, TranscriptionResult::Quota& quota) {
  object.required("minutesPerMonth", quota.minutesPerMonth);
  object.required("usedSeconds", quota.usedSeconds);
  object.required("remainingSeconds", quota.remainingSeconds);
  object.required("allowanceSeconds", quota.allowanceSeconds);
}

void decode(const WireObject& object, AccountSummary& summary) {
  object.required("id", summary.id);
  object.required("email", summary.email);
  object.required("plan", summary.plan);
  object.required("isAdmin", summary.isAdmin);
}

void decode(const WireObject& object, Session& session) {
  object.required("accessToken", session.accessToken);
  object.required("refreshToken", session.refreshToken);
  object.required("expiresIn", session.expiresIn);
  object.required("user", session.user);
}

void decode(const WireObject& object, Account& account) {
  object.required("id", account.id);
  object.required("email", account.email);
  object.required("isAdmin", account.isAdmin);
  object.required("cleanupEnabled", account.cleanupEnabled);
  object.optional("cleanupPromptVersion", account.cleanupPromptVersion);
  object.required("plan", account.plan);
  object.required("createdAt", account.createdAt);
  std::optional<bool> verified;
  object.optional("emailVerified", verified);
  account.emailVerified = verified.value_or(true);
}

void decode(const WireObject& object, Account::Plan& plan) {
  object.required("id", plan.id);
  object.required("displayName", plan.displayName);
  object.required("minutesPerMonth", plan.minutesPerMonth);
}

void decode(const WireObject& object, UsageWindow& window) {
  object.required("dictations", window.dictations);
  object.required("words", window.words);
  object.required("characters", window.characters);
  object.required("seconds", window.seconds);
}

void decode(const WireObject& object, UsageQuota& quota) {
  object.required("minutesPerMonth", quota.minutesPerMonth);
  object.required("allowanceSeconds", quota.allowanceSeconds);
  object.required("remainingSeconds", quota.remainingSeconds);
}

void decode(const WireObject& object, UsageStats& stats) {
  object.required("lifetime", stats.lifetime);
  object.required("period", stats.period);
  object.required("quota", stats.quota);
  object.required("plan", stats.plan);
}

void decode(const WireObject& object, UsageStats::Period& period) {
  object.required("start", period.start);
  object.required("end", period.end);
  object.required("dictations", period.dictations);
  object.required("words", period.words);
  object.required("characters", period.characters);
  object.required("seconds", period.seconds);
}

void decode(const WireObject& object, UsageStats::PlanRef& plan) {
  object.required("id", plan.id);
  object.required("displayName", plan.displayName);
}

void decode(const WireObject& object, AchievementItem& item) {
  object.required("id", item.id);
  object.required("title", item.title);
  object.required("blurb", item.blurb);
  object.required("icon", item.icon);
  object.required("threshold", item.threshold);
  object.optional("unlockedAt", item.unlockedAt);
}

void decode(const WireObject& object, AchievementShelf& shelf) {
  object.required("badges", shelf.badges);
  object.required("actions", shelf.actions);
  object.required("timeMilestones", shelf.timeMilestones);
  object.required("progress", shelf.progress);
}

void decode(const WireObject& object, ApiErrorBody& body) {
  object.required("error", body.error);
  object.required("code", body.code);
  object.required("status", body.status);
  object.required("request_id", body.request_id);
}

}  // namespace pell
