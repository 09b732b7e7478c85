// What moves a user on through the guided part of the onboarding.
#pragma once

#include <functional>
#include <utility>

#include "async/Executor.h"

namespace pell {

class OnboardingModel;
struct AppState;

/// The steps of the permissions are advanced by `PermissionWatch`. Main thread; nothing fails.
class OnboardingFlow {
 public:
  static constexpr Seconds autoAdvanceDelay{6};

  struct Collaborators {
    AppState& state;
    OnboardingModel& onboarding;
    Executor& main;
    std::function<void()> bringToFront;  // the main window
  };

  explicit OnboardingFlow(Collaborators collaborators) : with_(std::move(collaborators)) {}

  /// Each of the two does something only while its own step is on screen.
  void completeDictateInPell();
  void completeDictateElsewhere();

  /// From any step to the last.
  void skipGuidedDictation();

  /// Completes the dictation elsewhere after a while; a second call starts the while again.
  void scheduleOnboardingAutoAdvance();

  /// A click on the bubble, or the cancel key. Ends the step to which a dismissible bubble belongs.
  void dismissOnboardingCoaching();

  void completeOnboarding();

 private:
  bool isOnScreen() const;

  Collaborators with_;
  DelayedWork autoAdvance_;
};

}  // namespace pell
