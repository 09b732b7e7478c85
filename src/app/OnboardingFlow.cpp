#include "app/OnboardingFlow.h"

#include "app/AppState.h"
#include "app/OnboardingModel.h"

namespace pell {

bool OnboardingFlow::isOnScreen() const { return with_.state.screen.get() == AppState::Screen::onboarding; }

void OnboardingFlow::completeDictateInPell() {
  if (!isOnScreen() || !std::holds_alternative<step::DictateInPell>(with_.onboarding.step())) return;
  with_.onboarding.enter(step::DictateElsewhere{}, false);
}

void OnboardingFlow::completeDictateElsewhere() {
  if (!isOnScreen() || !std::holds_alternative<step::DictateElsewhere>(with_.onboarding.step())) return;
  autoAdvance_.cancel();
  with_.onboarding.setHUDCoaching(std::nullopt);
  // The user is in another application.
  with_.bringToFront();
  with_.onboarding.enter(step::Finish{}, with_.onboarding.isReturningUser());
}

void OnboardingFlow::skipGuidedDictation() {
  if (!isOnScreen()) return;
  autoAdvance_.cancel();
  with_.onboarding.setHUDCoaching(std::nullopt);
  with_.onboarding.enter(step::Finish{}, with_.onboarding.isReturningUser());
}

void OnboardingFlow::scheduleOnboardingAutoAdvance() {
  autoAdvance_ = with_.main.postAfter(autoAdvanceDelay, [this] { completeDictateElsewhere(); });
}

void OnboardingFlow::dismissOnboardingCoaching() {
  const auto& coaching = with_.onboarding.hudCoaching();
  if (!coaching || !coaching->dismissible) return;
  with_.onboarding.setHUDCoaching(std::nullopt);
  completeDictateElsewhere();
}

void OnboardingFlow::completeOnboarding() {
  with_.onboarding.markCompleted();
  with_.state.screen = AppState::Screen::ready;
  with_.state.section = AppSection::dictation;
}

}  // namespace pell
