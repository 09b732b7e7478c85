// How far the user has come in the onboarding, and what of it outlives the process.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <variant>

#include "app/OnboardingStep.h"
#include "async/Observable.h"

namespace pell {

class UserDefaults;
class WallClock;

/// Holds the step and the coaching that is on show, and decides from plain facts where a user enters.
/// Whatever moves the user on lives in `OnboardingFlow` and `PermissionWatch`. Main thread; nothing fails.
class OnboardingModel {
 public:
  using PermissionState = pell::PermissionState;
  using Step = OnboardingStep;

  /// The bubble that the floating panel shows.
  struct HUDCoaching {
    std::string title;
    std::string subtitle;
    bool dismissible = false;  // by a click or by the cancel key
    bool delivered = false;    // the congratulation, once the text has arrived
    bool operator==(const HUDCoaching&) const = default;
  };

  OnboardingModel(UserDefaults& defaults, const WallClock& clock) : defaults_(defaults), clock_(clock) {}
  OnboardingModel(const OnboardingModel&) = delete;
  OnboardingModel& operator=(const OnboardingModel&) = delete;

  const Step& step() const { return step_; }

  /// True for a user who has dictated before and never finished the onboarding on this machine.
  bool isReturningUser() const { return isReturningUser_; }

  const std::optional<HUDCoaching>& hudCoaching() const { return hudCoaching_; }

  /// Called whenever the coaching is set, also to what it was: the floating panel listens here.
  std::function<void()> onHUDCoachingChanged;

  /// Calls `listener` after each change of what is shown here.
  Subscription observe(std::function<void()> listener) { return listeners_.add(std::move(listener)); }

  /// Goes to `step`. The two guided dictations are remembered for the next start.
  void enter(Step step, bool isReturningUser);

  void setHUDCoaching(std::optional<HUDCoaching> coaching);

  /// Whether the onboarding was once finished on this machine, whatever is stored about it.
  bool completed() const;
  void markCompleted();

  /// What decides where a user enters.
  struct Facts {
    bool hasSession = false;
    bool hasMicrophone = false;        // the permission
    bool hasMicrophoneDevice = false;  // something to record from
    bool hasAccessibility = false;
    bool hasEverDictated = false;  // with this account, on whatever machine
  };
  struct Remembered {
    bool completed = false;
    std::optional<Step> savedDictationStep;
  };

  struct Onboarding {
    Step step;
    bool isReturningUser = false;
    bool operator==(const Onboarding&) const = default;
  };
  struct SignedOut {
    bool operator==(const SignedOut&) const = default;
  };
  struct Ready {
    bool operator==(const Ready&) const = default;
  };
  using Entry = std::variant<Onboarding, SignedOut, Ready>;

  /// By what this machine remembers.
  Entry decideEntry(const Facts& facts) const;

  /// A user who has lost a permission returns to its step, also long after the onboarding.
  static Entry decideEntry(const Facts& facts, const Remembered& remembered);

 private:
  UserDefaults& defaults_;
  const WallClock& clock_;
  Step step_;
  bool isReturningUser_ = false;
  std::optional<HUDCoaching> hudCoaching_;
  Listeners listeners_;
};

}  // namespace pell
