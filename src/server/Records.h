// What the server sends. Fields are named as on the wire; times stay text.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace pell {

class WireObject;

/// The reply to an upload.
struct TranscriptionResult {
  /// The allowance after this dictation.
  struct Quota {
    std::int64_t minutesPerMonth = 0;
    double usedSeconds = 0;
    double remainingSeconds = 0;
    double allowanceSeconds = 0;
    bool operator==(const Quota&) const = default;
  };

  std::string transcript;               // the text to deliver
  std::vector<std::string> paragraphs;  // the same text
  std::string rawTranscript;            // before cleanup
  std::optional<std::string> cleanupPromptVersionTitle;
  double durationSeconds = 0;
  std::int64_t words = 0;
  std::int64_t characters = 0;
  std::optional<double> confidence;
  std::string language;
  std::optional<std::vector<std::string>> unlocked;  // achievements of this dictation
  Quota quota;
  bool operator==(const TranscriptionResult&) const = default;
};

struct AccountSummary {
  std::string id;
  std::string email;
  std::string plan;
  bool isAdmin = false;
  bool operator==(const AccountSummary&) const = default;
};

/// The reply to registration, sign-in and refresh.
struct Session {
  std::string accessToken;
  std::string refreshToken;
  double expiresIn = 0;  // seconds
  AccountSummary user;
  bool operator==(const Session&) const = default;
};

struct Account {
  struct Plan {
    std::string id;
    std::string displayName;
    std::int64_t minutesPerMonth = 0;
    bool operator==(const Plan&) const = default;
  };

  std::string id;
  std::string email;
  bool isAdmin = false;
  bool cleanupEnabled = false;
  std::optional<std::string> cleanupPromptVersion;  // absent: the server's default style
  Plan plan;
  std::string createdAt;
  bool emailVerified = true;  // a reply without it counts as verified
  bool operator==(const Account&) const = default;
};

/// What was dictated in a span of time.
struct UsageWindow {
  std::int64_t dictations = 0;
  std::int64_t words = 0;
  std::int64_t characters = 0;
  double seconds = 0;
  bool operator==(const UsageWindow&) const = default;
};

/// The allowance of the current metering period.
struct UsageQuota {
  std::int64_t minutesPerMonth = 0;
  double allowanceSeconds = 0;
  double remainingSeconds = 0;
  bool operator==(const UsageQuota&) const = default;
};

struct UsageStats {
  /// The current metering period.
  struct Period {
    std::string start;
    std::string end;
    std::int64_t dictations = 0;
    std::int64_t words = 0;
    std::int64_t characters = 0;
    double seconds = 0;
    bool operator==(const Period&) const = default;
  };
  /// The tier to which the figures belong.
  struct PlanRef {
    std::string id;
    std::string displayName;
    bool operator==(const PlanRef&) const = default;
  };

  UsageWindow lifetime;  // since the account began
  Period period;
  UsageQuota quota;
  PlanRef plan;
  bool operator==(const UsageStats&) const = default;
};

struct AchievementItem {
  std::string id;  // stable
  std::string title;
  std::string blurb;
  std::string icon;
  std::int64_t threshold = 0;             // what must be reached
  std::optional<std::string> unlockedAt;  // absent while locked
  bool operator==(const AchievementItem&) const = default;
};

struct AchievementShelf {
  std::vector<AchievementItem> badges;
  std::vector<AchievementItem> actions;
  std::vector<AchievementItem> timeMilestones;
  double progress = 0;
  bool operator==(const AchievementShelf&) const = default;
};

/// The body of every reply that is no success.
struct ApiErrorBody {
  std::string error;  // a sentence for the user
  std::string code;
  std::int64_t status = 0;
  std::string request_id;
  bool operator==(const ApiErrorBody&) const = default;
};

/// Reading from JSON, for `decodeWire` of server/Wire.h.
void decode(const WireObject& object, TranscriptionResult& result);
void decode(const WireObject& object, TranscriptionResult::Quota& quota);
void decode(const WireObject& object, AccountSummary& summary);
void decode(const WireObject& object, Session& session);
void decode(const WireObject& object, Account& account);
void decode(const WireObject& object, Account::Plan& plan);
void decode(const WireObject& object, UsageWindow& window);
void decode(const WireObject& object, UsageQuota& quota);
void decode(const WireObject& object, UsageStats& stats);
void decode(const WireObject& object, UsageStats::Period& period);
void decode(const WireObject& object, UsageStats::PlanRef& plan);
void decode(const WireObject& object, AchievementItem& item);
void decode(const WireObject& object, AchievementShelf& shelf);
void decode(const WireObject& object, ApiErrorBody& body);

}  // namespace pell
