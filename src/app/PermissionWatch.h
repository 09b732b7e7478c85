// Follows the two permissions: moves the onboarding on as they come, and asks for repair when one is lost.
#pragma once

#include <functional>
#include <memory>
#include <optional>

#include "app/OnboardingStep.h"
#include "app/ReauthorizationState.h"
#include "async/Executor.h"
#include "async/Observable.h"
#include "async/Task.h"
#include "async/TaskScope.h"
#include "platform/AudioCapture.h"
#include "platform/Words.h"
#include "stores/Log.h"

namespace pell {

class OnboardingModel;
class Permissions;
struct AppState;

/// Main thread; nothing fails. Destroying it abandons its timers.
class PermissionWatch {
 public:
  static constexpr Seconds grantedShownFor{1.6};
  static constexpr Seconds stuckAfter{45};  // without the grant, the user is offered help

  struct Collaborators {
    AppState& state;
    OnboardingModel& onboarding;
    Permissions& permissions;
    Executor& main;
    Words words;
    const Log& log;
    std::function<void()> newNote;       // an empty draft, for the first dictation
    std::function<void()> bringToFront;  // the main window
  };

  explicit PermissionWatch(Collaborators collaborators);

  /// What the repair sheet shows; absent while there is none.
  const Observable<std::optional<ReauthorizationState>>& reauthorization() const { return reauthorization_; }

  /// The permissions as the poll finds them, ten times a second. Without a change, two comparisons.
  void syncPermissions(bool hasMicrophone, bool hasAccessibility);

  /// Takes what is there now for no change, except on the step of a permission that is there already: the
  /// next poll moves on from it.
  void takeBaselines();

  /// Asks the user for the microphone where that is still open.
  void requestMicrophoneAccess();

  /// Looks again whether there is something to record from.
  void recheckMicrophoneDevice();

  /// Asks for the accessibility permission, opens the place where it is given, and says what to do there.
  void beginAccessibilityRequest();

  void dismissReauthorization();

 private:
  enum class ReauthKind { microphone, accessibility };

  bool isScreenReady() const;
  template <class PermissionStep>
  bool isOnStep() const;
  bool isAt(const OnboardingStep& step) const;
  void enter(const OnboardingStep& step);
  void forgetBaselineOf(const OnboardingStep& step);
  void accessibilityGranted();
  void noticeReauthorization(ReauthKind kind, bool granted);
  void microphoneAnswered(bool granted);
  void applyMicrophoneStatus(MicrophoneAuthorization status);
  Task<void> closeGranted();
  Task<void> noticeStuck();

  Collaborators with_;
  Observable<std::optional<ReauthorizationState>> reauthorization_;
  std::shared_ptr<bool> alive_ = std::make_shared<bool>(true);  // an answer that comes late asks for it
  TaskScope tasks_;
};

}  // namespace pell
