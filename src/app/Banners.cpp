#include "app/Banners.h"

#include <algorithm>

#include "async/Sleep.h"

namespace pell {

Banners::Banners(AppState& state, const BannerTexts& texts, Executor& main)
    : state_(state), texts_(texts), main_(main), tasks_(main) {}

Banners::Kind Banners::kind() const {
  const auto& banner = state_.banner.get();
  if (!banner) return Kind::failure;
  const auto isOneOf = [&](std::initializer_list<const std::string*> known) {
    return std::ranges::any_of(known, [&](const std::string* text) { return *text == *banner; });
  };
  if (isOneOf({&texts_.copied, &texts_.savedAsNote, &texts_.historyCleared})) return Kind::ok;
  if (isOneOf({&texts_.confirmEmail, &texts_.signInUnread, &texts_.signInRemoved, &texts_.signedOut})) {
    return Kind::attention;
  }
  return quotaBanner_ == banner ? Kind::attention : Kind::failure;
}

void Banners::dismiss() {
  quotaBanner_.reset();
  state_.banner = std::nullopt;
}

void Banners::reportQuotaExceeded(const std::string& message) {
  quotaBanner_ = message;
  state_.banner = message;
}

void Banners::clearQuotaBanner() {
  const auto refusal = std::exchange(quotaBanner_, std::nullopt);
  if (refusal && state_.banner.get() == refusal) state_.banner = std::nullopt;
}

void Banners::flashShortTapCoach() {
  shortTapCoach_ = "Hold it a little longer. Pell starts listening after a moment.";
  tasks_.spawn(endShortTapCoach());
}

Task<void> Banners::endShortTapCoach() {
  co_await sleepFor(main_, shortTapCoachSeconds);
  shortTapCoach_ = std::nullopt;
}

}  // namespace pell
