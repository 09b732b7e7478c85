#include "localserver/Metering.h"

#include <algorithm>
#include <fmt/format.h>

#include "localserver/ApiError.h"

namespace pell::localserver {

Metering::Metering(Storage& storage, WallNow now, Plans plans)
    : storage_(storage), now_(std::move(now)), plans_(std::move(plans)) {}

Quota Metering::quota(const std::string& userId) {
  const auto user = storage_.userById(userId);
  const Plan& plan = planOf(plans_, user ? user->plan : std::nullopt);
  const double used = storage_.usage(userId, monthOf(now_()).name).seconds;
  const double allowance = static_cast<double>(plan.minutesPerMonth) * 60;
  return {.plan = plan,
          .usedSeconds = used,
          .remainingSeconds = std::max(allowance - used, 0.0),
          .allowanceSeconds = allowance};
}

UsageReport Metering::report(const std::string& userId) {
  const Month month = monthOf(now_());
  return {.lifetime = storage_.lifetimeUsage(userId),
          .month = month,
          .inMonth = storage_.usage(userId, month.name),
          .quota = quota(userId)};
}

void Metering::requireAllowance(const std::string& userId) {
  const Quota left = quota(userId);
  if (left.remainingSeconds > 0) return;
  throw Refusal(
      {402, "QUOTA_EXCEEDED",
       fmt::format("You have used your {} minutes of dictation for this month. They start afresh on "
                   "the first of the next one.",
                   left.plan.minutesPerMonth)});
}

Metering::Charge::Charge(Metering& metering, std::string userId, double seconds)
    : metering_(metering),
      userId_(std::move(userId)),
      month_(monthOf(metering.now_()).name),
      seconds_(seconds) {
  metering_.storage_.atomically([&] {
    metering_.requireAllowance(userId_);
    metering_.storage_.addUsage(userId_, month_, {.seconds = seconds_});
  });
}

Metering::Charge::~Charge() {
  if (kept_) return;
  try {
    metering_.storage_.addUsage(userId_, month_, {.seconds = -seconds_});
  } catch (const StorageFailure&) {
    // The request fails already, and a destructor has nobody to tell.
  }
}

void Metering::Charge::keep(std::int64_t words, std::int64_t characters) {
  metering_.storage_.addUsage(userId_, month_, {.dictations = 1, .words = words, .characters = characters});
  kept_ = true;
}

}  // namespace pell::localserver
