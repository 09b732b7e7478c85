#pragma once

#include <string>

#include "localserver/Plans.h"
#include "localserver/Storage.h"
#include "localserver/Times.h"

namespace pell::localserver {

/// A user's allowance in the current month, and what is left of it.
struct Quota {
  Plan plan;
  double usedSeconds = 0;
  double remainingSeconds = 0;
  double allowanceSeconds = 0;
};

/// What a user dictated so far.
struct UsageReport {
  UsageRecord lifetime;
  Month month;
  UsageRecord inMonth;
  Quota quota;
};

/// Seconds of audio per user and calendar month (UTC). The dictation that crosses the line is still served;
/// the next one is refused. Any thread; operations throw StorageFailure.
class Metering {
 public:
  Metering(Storage& storage, WallNow now, Plans plans);

  const Plan& plan(const UserRecord& user) const { return planOf(plans_, user.plan); }
  Quota quota(const std::string& userId);
  UsageReport report(const std::string& userId);
  /// Throws Refusal "QUOTA_EXCEEDED" where nothing is left.
  void requireAllowance(const std::string& userId);

  /// Seconds taken from the allowance before the work, so that requests side by side cannot all pass on the
  /// same remainder. They go back unless `keep` was called.
  class Charge {
   public:
    /// Throws Refusal as `requireAllowance` does.
    Charge(Metering& metering, std::string userId, double seconds);
    ~Charge();
    Charge(const Charge&) = delete;
    Charge& operator=(const Charge&) = delete;

    /// The dictation is done: the seconds stay, and it counts with its words and characters.
    void keep(std::int64_t words, std::int64_t characters);

   private:
    Metering& metering_;
    std::string userId_;
    std::string month_;
    double seconds_;
    bool kept_ = false;
  };

 private:
  Storage& storage_;
  WallNow now_;
  const Plans plans_;
};

}  // namespace pell::localserver
