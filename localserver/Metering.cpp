#include "localserver/Metering.h"

#include <algorithm>
#include <chrono>
#include <fmt/format.h>

#include "localserver/ApiError.h"

namespace pell::localserver {
namespace {

std::chrono::year_month_day dateOf(UnixSeconds seconds) {
  const std::chrono::sys_seconds moment{std::chrono::seconds(seconds)};
  return std::chrono::floor<std::chrono::days>(moment);
}

}  // namespace

Metering::Metering(Storage& storage, WallNow now, std::int64_t minutesPerMonth)
    : storage_(storage), now_(std::move(now)), minutesPerMonth_(minutesPerMonth) {}

std::string Metering::month() const {
  const auto date = dateOf(now_());
  return fmt::format("{:04}-{:02}", static_cast<int>(date.year()), static_cast<unsigned>(date.month()));
}

Quota Metering::quota(const std::string& userId) {
  const double used = storage_.usage(userId, month()).seconds;
  const double allowance = static_cast<double>(minutesPerMonth_) * 60;
  return {.minutesPerMonth = minutesPerMonth_,
          .usedSeconds = used,
          .remainingSeconds = std::max(allowance - used, 0.0),
          .allowanceSeconds = allowance};
}

void Metering::requireAllowance(const std::string& userId) {
  if (quota(userId).remainingSeconds > 0) return;
  throw Refusal(
      {402, "QUOTA_EXCEEDED",
       fmt::format("You have used your {} minutes of dictation for this month. They start afresh on "
                   "the first of the next one.",
                   minutesPerMonth_)});
}

Metering::Charge::Charge(Metering& metering, std::string userId, double seconds)
    : metering_(metering), userId_(std::move(userId)), month_(metering.month()), seconds_(seconds) {
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
