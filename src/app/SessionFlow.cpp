#include "app/SessionFlow.h"

#include <utility>

#include "app/BannerTexts.h"
#include "app/HistoryList.h"
#include "app/NotesWorkflow.h"
#include "app/OnboardingModel.h"
#include "app/PermissionWatch.h"
#include "app/Permissions.h"
#include "app/StyleSync.h"
#include "app/UsageSync.h"
#include "server/ApiClient.h"
#include "stores/AppConfig.h"
#include "stores/Log.h"

namespace pell {

using Screen = AppState::Screen;

SessionFlow::SessionFlow(Collaborators collaborators) : with_(std::move(collaborators)) {}

// Losing and ending the session.

void SessionFlow::sessionLost(Keychain::ReadOutcome outcome) {
  const Screen screen = with_.state.screen;
  if (screen == Screen::signedOut || screen == Screen::onboarding) return;
  with_.log.warn("session_lost", {{"outcome", rawValue(outcome)}});
  forgetAccount();
  with_.state.banner = with_.banners.forLostSession(outcome);
  with_.state.screen = Screen::signedOut;
}

Task<void> SessionFlow::signOut() {
  co_await with_.api.signOut();
  forgetAccount();
  with_.state.screen = Screen::signedOut;
}

Task<void> SessionFlow::deleteAccount() {
  clearUnverifiedEmailNudge();
  try {
    co_await with_.api.deleteAccount();
  } catch (const std::exception& failure) {
    with_.state.banner = failure.what();
  }
  forgetAccount();
  with_.state.screen = Screen::signedOut;
}

void SessionFlow::forgetAccount() {
  with_.state.account = std::nullopt;
  with_.state.usage = std::nullopt;
  clearUnverifiedEmailNudge();
}

// Restoring and opening it.

Task<void> SessionFlow::start() {
  with_.notes.reloadNotes();
  with_.history.reload();
  with_.styles.loadCached();
  const int openedBefore = sessionsOpened_;
  std::optional<Account> account;
  try {
    account = co_await with_.api.account();
  } catch (const std::exception& failure) {
    with_.log.warn("session_restore_failed", {{"reason", failure.what()}});
  }
  if (account) {
    with_.state.account = std::move(account);
    co_await settleIn();
    co_return;
  }
  const Keychain::ReadOutcome read = co_await with_.api.lastRefreshTokenRead();
  // While this asked, a form may have opened the session that it did not find.
  if (sessionsOpened_ == openedBefore) startWithoutSession(read);
}

void SessionFlow::startWithoutSession(Keychain::ReadOutcome read) {
  if (read == Keychain::ReadOutcome::timedOut) with_.state.banner = with_.banners.signInUnread;
  if (with_.onboarding.completed()) {
    with_.state.screen = Screen::signedOut;
  } else {
    with_.state.screen = Screen::onboarding;
    with_.onboarding.enter(step::Account{}, false);
  }
}

Task<std::optional<std::string>> SessionFlow::signIn(std::string email, std::string password) {
  return enterWith(with_.api.signIn(std::move(email), std::move(password)));
}

Task<std::optional<std::string>> SessionFlow::registerAccount(std::string email, std::string password) {
  return enterWith(with_.api.registerAccount(std::move(email), std::move(password)));
}

Task<std::optional<std::string>> SessionFlow::enterWith(Task<AccountSummary> opening) {
  std::optional<std::string> refusal;
  try {
    co_await std::move(opening);
    auto account = co_await with_.api.account();
    with_.state.account = std::move(account);
    ++sessionsOpened_;
  } catch (const std::exception& failure) {
    refusal = failure.what();
  }
  if (!refusal) co_await settleIn();
  co_return refusal;
}

/// What follows on every new session: the account's data, the milestones that this machine has to report, and
/// the screen.
Task<void> SessionFlow::settleIn() {
  co_await with_.styles.reload();
  co_await with_.usage.reloadUsage();
  co_await with_.usage.reloadAchievements();
  if (with_.permissions.hasMicrophone()) co_await with_.usage.reportAction("action.microphone");
  if (with_.permissions.hasAccessibility()) co_await with_.usage.reportAction("action.accessibility");
  enterPostSessionScreen();
  noteUnverifiedEmail();
}

void SessionFlow::enterPostSessionScreen() {
  const auto entry = with_.onboarding.decideEntry(
      {.hasSession = true,
       .hasMicrophone = with_.permissions.hasMicrophone(),
       .hasMicrophoneDevice = with_.permissions.hasMicrophoneDevice(),
       .hasAccessibility = with_.permissions.hasAccessibility(),
       .hasEverDictated = with_.state.unlockedMilestones.get().contains(std::string(firstWordMilestone))});
  if (std::holds_alternative<OnboardingModel::SignedOut>(entry)) {
    with_.state.screen = Screen::signedOut;
  } else if (const auto* onboarding = std::get_if<OnboardingModel::Onboarding>(&entry)) {
    with_.state.screen = Screen::onboarding;
    if (std::holds_alternative<step::DictateInPell>(onboarding->step)) with_.notes.newNote();
    with_.onboarding.enter(onboarding->step, onboarding->isReturningUser);
  } else {
    with_.state.screen = Screen::ready;
    with_.state.section = AppSection::dictation;
  }
  with_.permissionWatch.takeBaselines();  // a grant that was made before is no change
}

// The forms.

Task<std::optional<std::string>> SessionFlow::requestPasswordReset(std::string email) {
  std::optional<std::string> refusal;
  try {
    co_await with_.api.requestPasswordReset(std::move(email));
    with_.log.info("password_reset_requested");
  } catch (const ApiClient::Failure& failure) {
    refusal = failure.description();
    if (failure.isEmailUnavailable()) {
      refusal = "Password reset is not available right now.";
      if (const auto address = with_.config.supportAddress()) {
        *refusal += " Write to " + *address + " and we will help.";
      }
    }
  } catch (const std::exception& failure) {
    refusal = failure.what();
  }
  co_return refusal;
}

Task<std::optional<std::string>> SessionFlow::resendVerification() {
  std::optional<std::string> refusal;
  try {
    co_await with_.api.resendVerification();
    with_.log.info("verification_email_resent");
  } catch (const std::exception& failure) {
    refusal = failure.what();
  }
  co_return refusal;
}

// The e-mail address that waits for its confirmation.

Task<void> SessionFlow::recheckAfterActivation() {
  const Instant now = with_.main.now();
  if (lastActivationRecheck_ && now - *lastActivationRecheck_ < recheckInterval) co_return;
  lastActivationRecheck_ = now;
  const auto& known = with_.state.account.get();
  if (!known || known->emailVerified) co_return;
  std::optional<Account> account;
  try {
    account = co_await with_.api.account();
  } catch (const std::exception& failure) {
    with_.log.warn("account_recheck_failed", {{"reason", failure.what()}});
  }
  if (!account) co_return;
  const bool isVerified = account->emailVerified;
  with_.state.account = std::move(account);
  if (isVerified) clearUnverifiedEmailNudge();
}

void SessionFlow::noteUnverifiedEmail() {
  const auto& account = with_.state.account.get();
  if (account && !account->emailVerified && !with_.state.banner.get()) {
    with_.state.banner = with_.banners.confirmEmail;
  }
}

void SessionFlow::clearUnverifiedEmailNudge() {
  if (with_.state.banner.get() == with_.banners.confirmEmail) with_.state.banner = std::nullopt;
}

}  // namespace pell
