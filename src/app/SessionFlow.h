// Who is signed in, and which screen that leads to.
#pragma once

#include <optional>
#include <string>

#include "app/AppState.h"
#include "async/Executor.h"
#include "async/Task.h"
#include "stores/Keychain.h"

namespace pell {

class ApiClient;
class AppConfig;
class HistoryList;
class Log;
class NotesWorkflow;
class OnboardingModel;
class PermissionWatch;
class Permissions;
class StyleSync;
class UsageSync;
struct BannerTexts;

/// Restores, opens and ends the session, and decides the screen afterwards. What a form asks for comes back
/// to it as the text to show, absent on success, and changes nothing else when it fails.
///
/// Main thread only. At each call to the server a flow waits, and the user may do something else meanwhile;
/// the flow goes on all the same. It must outlive the tasks that it gives.
class SessionFlow {
 public:
  struct Collaborators {
    AppState& state;
    ApiClient& api;
    OnboardingModel& onboarding;
    const Permissions& permissions;
    PermissionWatch& permissionWatch;
    NotesWorkflow& notes;
    HistoryList& history;
    StyleSync& styles;
    UsageSync& usage;
    const BannerTexts& banners;
    const AppConfig& config;
    const Executor& main;
    const Log& log;
  };

  static constexpr Seconds recheckInterval{5.0};

  explicit SessionFlow(Collaborators collaborators);

  /// Shows what is kept here, then restores the session; without a network there is none. May run again.
  Task<void> start();

  Task<std::optional<std::string>> signIn(std::string email, std::string password);
  Task<std::optional<std::string>> registerAccount(std::string email, std::string password);
  Task<std::optional<std::string>> requestPasswordReset(std::string email);
  Task<std::optional<std::string>> resendVerification();

  /// Notes, history, milestones and cached styles stay for the next sign-in.
  Task<void> signOut();

  /// Signed out here even if the server refuses; then the banner says why it did.
  Task<void> deleteAccount();

  /// A request found no usable session, for the reason given.
  void sessionLost(Keychain::ReadOutcome outcome);

  /// Looks whether the e-mail address was confirmed meanwhile, at most every five seconds.
  Task<void> recheckAfterActivation();

 private:
  Task<std::optional<std::string>> enterWith(Task<AccountSummary> opening);
  Task<void> settleIn();
  void startWithoutSession(Keychain::ReadOutcome read);
  void enterPostSessionScreen();
  void forgetAccount();
  void noteUnverifiedEmail();
  void clearUnverifiedEmailNudge();

  Collaborators with_;
  int sessionsOpened_ = 0;  // by a form, since the program began
  std::optional<Instant> lastActivationRecheck_;
};

}  // namespace pell
