// The application's state and what the user can do with it.
#pragma once

#include <functional>
#include <string>

#include "app/AppState.h"
#include "app/BannerTexts.h"
#include "app/Banners.h"
#include "app/HistoryList.h"
#include "app/NotesWorkflow.h"
#include "app/OnboardingFlow.h"
#include "app/OnboardingModel.h"
#include "app/PermissionWatch.h"
#include "app/Relocation.h"
#include "app/SessionFlow.h"
#include "app/StyleSync.h"
#include "app/UsageSync.h"
#include "app/VersionGate.h"
#include "editor/EditorController.h"
#include "platform/Words.h"
#include "stores/LocalStore.h"

namespace pell {

class ApiClient;
class AppConfig;
class AppSettings;
class Log;
class Permissions;
class TextInjector;
class UserDefaults;

/// The one object that the screens observe and call. It holds the shared `AppState`, opens the local store,
/// and makes the duties over both: each duty is a class of its own, with the state that nobody else needs.
/// What the rest of the program tells the duties, and they it, is joined in `AppDelegate`.
///
/// Main thread only. It must outlive the tasks that its duties give; what it is given must outlive it.
class AppModel {
 public:
  using Screen = AppState::Screen;
  using BannerKind = Banners::Kind;

  struct Services {
    ApiClient& api;
    AppSettings& settings;
    const AppConfig& config;
    UserDefaults& defaults;
    Permissions& permissions;
    TextInjector& injector;
    Installation installation;
    Executor& main;
    SerialExecutorFactory makeSerialExecutor;
    const WallClock& clock;
    Words words;
    std::string localeOfDates;
    const Log& log;
    std::function<void()> bringToFront;  // the main window
    std::function<void()> quit;
  };

  explicit AppModel(Services services);
  AppModel(const AppModel&) = delete;
  AppModel& operator=(const AppModel&) = delete;

  const AppState& state() const { return state_; }
  void select(AppSection section) { state_.section = section; }

  Banners& banners() { return banners_; }
  OnboardingModel& onboarding() { return onboarding_; }
  OnboardingFlow& onboardingFlow() { return onboardingFlow_; }
  PermissionWatch& permissions() { return permissions_; }
  Relocation& relocation() { return relocation_; }
  VersionGate& versionGate() { return versionGate_; }
  HistoryList& history() { return history_; }
  NotesWorkflow& notes() { return notes_; }
  EditorController& editor() { return editor_; }
  StyleSync& styles() { return styles_; }
  UsageSync& usage() { return usage_; }
  SessionFlow& session() { return session_; }

  /// What is kept on this machine; its repositories are null where the store could not be opened.
  LocalStore& store() { return store_; }

  /// The rules for a dictation that starts now.
  StyleResolver::Rules currentStyleRules() const { return styles_.currentRules(settings_); }

 private:
  const AppSettings& settings_;
  AppState state_;
  BannerTexts texts_;
  ReloadRule reloadRule_;
  LocalStore store_;
  OnboardingModel onboarding_;
  Banners banners_;
  EditorController editor_;
  NotesWorkflow notes_;
  OnboardingFlow onboardingFlow_;
  PermissionWatch permissions_;
  Relocation relocation_;
  VersionGate versionGate_;
  HistoryList history_;
  StyleSync styles_;
  UsageSync usage_;
  SessionFlow session_;
};

}  // namespace pell
