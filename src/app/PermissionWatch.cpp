#include "app/PermissionWatch.h"

#include <utility>

#include "app/AppState.h"
#include "app/OnboardingModel.h"
#include "app/Permissions.h"
#include "async/Sleep.h"

namespace pell {

PermissionWatch::PermissionWatch(Collaborators collaborators)
    : with_(std::move(collaborators)), tasks_(with_.main) {}

bool PermissionWatch::isScreenReady() const { return with_.state.screen.get() == AppState::Screen::ready; }

/// The onboarding is on screen, at the step of this permission in whatever state.
template <class PermissionStep>
bool PermissionWatch::isOnStep() const {
  return with_.state.screen.get() == AppState::Screen::onboarding &&
         std::holds_alternative<PermissionStep>(with_.onboarding.step());
}

bool PermissionWatch::isAt(const OnboardingStep& step) const {
  return with_.state.screen.get() == AppState::Screen::onboarding && with_.onboarding.step() == step;
}

void PermissionWatch::enter(const OnboardingStep& step) {
  with_.onboarding.enter(step, false);
  forgetBaselineOf(step);
}

/// Nobody will tell of a grant that came before its step did; forgotten, it is a change again.
void PermissionWatch::forgetBaselineOf(const OnboardingStep& step) {
  AppState& state = with_.state;
  if (std::holds_alternative<step::Microphone>(step) && with_.permissions.hasMicrophone()) {
    state.lastKnownMicrophone.reset();
  }
  if (std::holds_alternative<step::Accessibility>(step) && with_.permissions.hasAccessibility()) {
    state.lastKnownAccessibility.reset();
  }
}

void PermissionWatch::takeBaselines() {
  with_.state.lastKnownMicrophone = with_.permissions.hasMicrophone();
  with_.state.lastKnownAccessibility = with_.permissions.hasAccessibility();
  if (with_.state.screen.get() == AppState::Screen::onboarding) {
    forgetBaselineOf(with_.onboarding.step());
  }
}

void PermissionWatch::syncPermissions(bool hasMicrophone, bool hasAccessibility) {
  AppState& state = with_.state;
  if (state.lastKnownMicrophone != hasMicrophone) {
    state.lastKnownMicrophone = hasMicrophone;
    if (hasMicrophone && isOnStep<step::Microphone>()) enter(step::Accessibility{});
    if (isScreenReady()) noticeReauthorization(ReauthKind::microphone, hasMicrophone);
  }
  if (state.lastKnownAccessibility == hasAccessibility) return;
  state.lastKnownAccessibility = hasAccessibility;
  if (hasAccessibility && isOnStep<step::Accessibility>()) accessibilityGranted();
  if (isScreenReady()) noticeReauthorization(ReauthKind::accessibility, hasAccessibility);
}

void PermissionWatch::accessibilityGranted() {
  OnboardingModel& onboarding = with_.onboarding;
  onboarding.setHUDCoaching(std::nullopt);
  // The switch is in the settings of the desktop; the window comes back by itself.
  with_.bringToFront();
  if (with_.state.unlockedMilestones.get().contains(std::string(firstWordMilestone))) {
    onboarding.enter(step::Finish{}, true);
    return;
  }
  with_.newNote();
  onboarding.enter(step::DictateInPell{}, false);
}

void PermissionWatch::noticeReauthorization(ReauthKind kind, bool granted) {
  const bool isMicrophone = kind == ReauthKind::microphone;
  const char* name = isMicrophone ? "microphone" : "accessibility";
  const auto shown = reauthorization_.get();
  if (!granted) {
    if (shown) return;
    with_.log.warn("reauth_raised", {{"kind", name}, {"screen", logLabel(with_.state.screen.get())}});
    if (isMicrophone) {
      reauthorization_ = reauthorization::Microphone{};
    } else {
      reauthorization_ = reauthorization::Accessibility{};
    }
    return;
  }
  const bool isRepaired =
      shown && (isMicrophone ? std::holds_alternative<reauthorization::Microphone>(*shown)
                             : std::holds_alternative<reauthorization::Accessibility>(*shown));
  if (!isRepaired) return;
  with_.log.warn("reauth_resolved", {{"kind", name}});
  with_.onboarding.setHUDCoaching(std::nullopt);
  reauthorization_ = reauthorization::Granted{};
  tasks_.spawn(closeGranted());
}

Task<void> PermissionWatch::closeGranted() {
  co_await sleepFor(with_.main, grantedShownFor);
  if (reauthorization_.get() == ReauthorizationState(reauthorization::Granted{}))
    reauthorization_ = std::nullopt;
}

void PermissionWatch::requestMicrophoneAccess() {
  const auto status = with_.permissions.microphoneStatus();
  if (status != MicrophoneAuthorization::notDetermined) {
    applyMicrophoneStatus(status);
    return;
  }
  with_.permissions.requestMicrophone(
      [this, alive = std::weak_ptr(alive_), &main = with_.main](bool granted) {
        main.post([this, alive, granted] {
          if (!alive.expired()) microphoneAnswered(granted);
        });
      });
}

void PermissionWatch::microphoneAnswered(bool granted) {
  const bool isOpen = with_.permissions.microphoneStatus() == MicrophoneAuthorization::notDetermined;
  if (!granted || !isOpen) {
    applyMicrophoneStatus(granted ? MicrophoneAuthorization::authorized : MicrophoneAuthorization::denied);
  } else if (isOnStep<step::Microphone>() && !with_.permissions.hasMicrophoneDevice()) {
    // Nobody refused, as nobody was there who could: the user is to look for a microphone first.
    enter(step::Microphone{PermissionState::noDevice});
  }
}

void PermissionWatch::applyMicrophoneStatus(MicrophoneAuthorization status) {
  const bool granted = status == MicrophoneAuthorization::authorized;
  // All that follows from the answer is done here: the next poll is to see no change.
  with_.state.lastKnownMicrophone = granted;
  if (isOnStep<step::Microphone>()) {
    if (granted) {
      enter(step::Accessibility{});
    } else if (status == MicrophoneAuthorization::restricted) {
      enter(step::Microphone{PermissionState::restricted});
    } else {
      enter(step::Microphone{PermissionState::blocked});
    }
  } else if (isScreenReady()) {
    noticeReauthorization(ReauthKind::microphone, granted);
  }
}

void PermissionWatch::recheckMicrophoneDevice() {
  if (!isAt(step::Microphone{PermissionState::noDevice})) return;
  if (!with_.permissions.hasMicrophoneDevice()) return;
  if (with_.permissions.hasMicrophone()) {
    enter(step::Accessibility{});
  } else {
    enter(step::Microphone{});
  }
}

void PermissionWatch::beginAccessibilityRequest() {
  with_.permissions.requestAccessibility();
  with_.permissions.openAccessibilitySettings();
  // On other screens nothing follows from the grant, and nobody would take the coaching away again.
  if (!isOnStep<step::Accessibility>() && !isScreenReady()) return;
  with_.onboarding.setHUDCoaching(OnboardingModel::HUDCoaching{
      .title = with_.words("Find Pell in the list"),
      .subtitle = with_.words("Switch it on in System Settings. Pell will notice by itself."),
      .dismissible = isScreenReady()});
  if (isOnStep<step::Accessibility>()) {
    enter(step::Accessibility{PermissionState::waiting});
  } else if (isScreenReady()) {
    reauthorization_ = reauthorization::Accessibility{PermissionState::waiting};
  }
  tasks_.spawn(noticeStuck());
}

Task<void> PermissionWatch::noticeStuck() {
  co_await sleepFor(with_.main, stuckAfter);
  // Whatever else is on show by now has made this pointless.
  const ReauthorizationState repairing = reauthorization::Accessibility{PermissionState::waiting};
  if (isAt(step::Accessibility{PermissionState::waiting})) {
    enter(step::Accessibility{PermissionState::stuck});
  } else if (reauthorization_.get() == repairing) {
    reauthorization_ = reauthorization::Accessibility{PermissionState::stuck};
  }
}

void PermissionWatch::dismissReauthorization() {
  reauthorization_ = std::nullopt;
  with_.onboarding.setHUDCoaching(std::nullopt);
}

}  // namespace pell
