#include "app/AppDelegate.h"

#include <utility>

#include "app/AppTranslocation.h"
#include "app/Updater.h"
#include "editor/Face.h"
#include "pipeline/DictationPhase.h"
#include "platform/Services.h"
#include "platform/Workspace.h"

namespace pell {
namespace {

Task<void> carryOut(std::function<void()> work) {
  work();
  co_return;
}

}  // namespace

AppDelegate::AppDelegate(const Platform& platform)
    : main_(platform.main),
      clock_(platform.clock),
      workspace_(platform.workspace),
      installation_(platform.installation),
      log_(platform.log),
      hasFontFamily_(platform.hasFontFamily),
      config_(platform.build, platform.locations, platform.defaults),
      settings_(platform.defaults, platform.loginItem, log_, platform.styleRules),
      keychain_(platform.secureItems, platform.main, config_.keychainService(), log_),
      api_({.http = platform.http,
            .keychain = keychain_,
            .config = config_,
            .clock = platform.clock,
            .executor = platform.makeSerialExecutor("api")}),
      recorder_({.audio = platform.audio,
                 .main = platform.main,
                 .clock = platform.clock,
                 .scratch = platform.locations.scratch,
                 .words = platform.words,
                 .log = log_}),
      permissions_(platform.accessibility, platform.audio, platform.workspace),
      secureInput_(platform.secureEntry, platform.accessibility),
      injector_({.workspace = platform.workspace,
                 .accessibility = platform.accessibility,
                 .pasteboard = platform.pasteboard,
                 .input = platform.input,
                 .main = platform.main,
                 .secureInput = secureInput_,
                 .config = config_,
                 .words = platform.words,
                 .log = log_}),
      browserContext_({.accessibility = platform.accessibility,
                       .defaults = platform.defaults,
                       .log = log_,
                       .platformBrowsers = platform.browsers}),
      model_({.api = api_,
              .settings = settings_,
              .config = config_,
              .defaults = platform.defaults,
              .permissions = permissions_,
              .injector = injector_,
              .installation = platform.installation,
              .main = platform.main,
              .makeSerialExecutor = platform.makeSerialExecutor,
              .clock = platform.clock,
              .words = platform.words,
              .localeOfDates = platform.localeOfDates,
              .log = log_,
              .bringToFront =
                  [this] {
                    if (bringToFront) bringToFront();
                  },
              .quit =
                  [this] {
                    if (quit) quit();
                  }}),
      dictation_({.recorder = recorder_,
                  .api = api_,
                  .settings = settings_,
                  .injector = injector_,
                  .secureInput = secureInput_,
                  .accessibility = platform.accessibility,
                  .workspace = platform.workspace,
                  .sounds = platform.sounds,
                  .activity = platform.activity,
                  .main = platform.main,
                  .words = platform.words,
                  .log = log_,
                  .browserHost = [this](const auto& front) { return browserContext_.host(front); }}),
      celebrations_(platform.main, [this] { return settings_.playSounds.get(); }),
      remoteConfig_({.http = platform.http,
                     .config = config_,
                     .log = log_,
                     .executor = platform.makeSerialExecutor("remote-config")}),
      hotKeys_(platform.eventTaps, platform.main, log_, [this](HotKeyMonitor::Event event) { route(event); }),
      tasks_(platform.main) {
  celebrations_.onSound = [&sounds = platform.sounds](std::string_view name) { sounds.play(name); };
  dictation_.dictationHistory = model_.store().dictations();
  join();
}

AppDelegate::~AppDelegate() = default;

/// Who tells whom of what: the subsystems know each other only through this table. What a dictation sets off
/// in the model runs later, so that the dictation goes on at once.
void AppDelegate::join() {
  api_.setSessionLostHandler(
      [this, alive = std::weak_ptr(alive_), &main = main_](Keychain::ReadOutcome outcome) {
        main.post([this, alive, outcome] {
          if (!alive.expired()) model_.session().sessionLost(outcome);
        });
      });

  dictation_.insertIntoEditor = [this](const TranscriptionResult& result) {
    return model_.notes().insertTranscript(result);
  };
  dictation_.onHistoryChanged = [this] {
    historyReload_ = main_.postAfter(historyPause, [this] { model_.history().reload(); });
  };
  dictation_.onMilestonesUnlocked = [this](const std::vector<std::string>& ids) {
    later([this, ids] {
      model_.usage().noteUnlocked(ids);
      celebrate(ids);
    });
  };
  model_.usage().onMilestonesUnlocked = [this](const std::vector<std::string>& ids) {
    later([this, ids] { celebrate(ids); });
  };
  dictation_.onUsageChanged = [this] { tasks_.spawn(refreshUsage()); };
  dictation_.onQuotaExceeded = [this](const std::string& message) {
    model_.banners().reportQuotaExceeded(message);
  };
  dictation_.onPhaseChanged = [this] { updatePanelVisibility("phase"); };
  model_.onboarding().onHUDCoachingChanged = [this] { updatePanelVisibility("coaching"); };
  dictation_.styleRules = [this] { return model_.currentStyleRules(); };
  dictation_.styleForID = [this](const std::string& id) { return model_.styles().style(id); };
  dictation_.onOverrideConsumed = [this] { model_.styles().setOneShotOverride(std::nullopt); };

  hotKeys_.onShortTap = [this] { shortTap(); };
}

void AppDelegate::later(std::function<void()> work) { tasks_.spawn(carryOut(std::move(work))); }

Task<void> AppDelegate::refreshUsage() {
  co_await model_.usage().reloadUsage();
  model_.banners().clearQuotaBanner();
}

/// What is unlocked during the onboarding shows on its last screen.
void AppDelegate::celebrate(const std::vector<std::string>& ids) {
  if (model_.state().screen.get() != AppModel::Screen::onboarding) celebrations_.celebrate(ids);
}

/// Coached only where the user is being shown how to hold the key.
void AppDelegate::shortTap() {
  const bool isGuided = model_.state().screen.get() == AppModel::Screen::onboarding &&
                        std::holds_alternative<step::DictateInPell>(model_.onboarding().step());
  if (isGuided) model_.banners().flashShortTapCoach();
}

void AppDelegate::applicationDidFinishLaunching() {
  recorder_.sweepOrphans(recorder_.scratch(), clock_.now());
  armHotKeys();
  observePanelState();
  const Placement placement = AppTranslocation::current(installation_);
  log_.info("app_launched", {{"version", config_.version()},
                             {"placement", rawValue(placement)},
                             {"fonts_loaded", Face::fontsAreLoaded(hasFontFamily_)}});
  model_.relocation().noticeInstallLocation(placement);
  Updater::start(log_);
  tasks_.spawn(followRemoteConfig());
}

/// The document of an earlier run holds before the network answers.
Task<void> AppDelegate::followRemoteConfig() {
  co_await remoteConfig_.loadCached();
  auto cached = co_await remoteConfig_.current();
  if (cached) model_.versionGate().notice(std::move(cached));
  co_await remoteConfig_.refresh();
  auto fresh = co_await remoteConfig_.current();
  if (fresh) model_.versionGate().notice(std::move(fresh));
}

AppDelegate::TerminateReply AppDelegate::applicationShouldTerminate() {
  model_.notes().flushPendingSave();
  dictation_.cancel();
  // A permission that was granted late leaves a recording which no dictation watches.
  recorder_.cancel();
  injector_.restorePendingClipboard();
  return TerminateReply::terminateNow;
}

void AppDelegate::observePanelState() {
  panelTimer_.start(main_, pollInterval, [this] { poll(); });
}

void AppDelegate::poll() {
  armHotKeys();
  model_.permissions().syncPermissions(permissions_.hasMicrophone(), permissions_.hasAccessibility());
  updatePanelVisibility("poll");
}

void AppDelegate::updatePanelVisibility(std::string_view trigger) {
  if (!applyPanel) return;
  const PanelContext context{
      .floatingPanelEnabled = settings_.showFloatingPanel,
      .dictationBarEnabled = settings_.showDictationBar,
      .isIdle = std::holds_alternative<phase::Idle>(dictation_.phase()),
      .hasCoaching = model_.onboarding().hudCoaching().has_value(),
      .pellIsActive = workspace_.isSelfActive(),
      .screenIsReady = model_.state().screen.get() == AppModel::Screen::ready,
      .sectionIsNotes = model_.state().section.get() == AppSection::notes,
  };
  applyPanel(context, trigger);
}

void AppDelegate::armHotKeys() {
  const bool granted = permissions_.hasAccessibility();
  if (lastAccessibilityState_.get() != granted) noticeAccessibility(granted);
  if (granted) {
    const bool ok = hotKeys_.ensureRunning(settings_.trigger);
    if (!ok && !armFailureLogged_) log_.warn("hotkey_arm_failed");
    armFailureLogged_ = !ok;
  } else if (hotKeys_.isActive()) {
    hotKeys_.stop();
    log_.info("hotkey_stopped", {{"reason", "accessibility_revoked"}});
  }
}

void AppDelegate::noticeAccessibility(bool granted) {
  lastAccessibilityState_ = granted;
  log_.info("accessibility_changed", {{"granted", granted}});
  if (granted) tasks_.spawn(model_.usage().reportAction("action.accessibility"));
}

void AppDelegate::route(HotKeyMonitor::Event event) {
  switch (event) {
    case HotKeyMonitor::Event::begin:
      dictation_.begin();
      break;
    case HotKeyMonitor::Event::end:
      dictation_.finish();
      break;
    case HotKeyMonitor::Event::toggle:
      dictation_.toggle();
      break;
    case HotKeyMonitor::Event::cancel:
      cancelEvent();
      break;
  }
}

void AppDelegate::cancelEvent() {
  if (model_.onboarding().hudCoaching()) {
    model_.onboardingFlow().dismissOnboardingCoaching();
  } else if (std::holds_alternative<phase::Failed>(dictation_.phase())) {
    dictation_.clearMessage();
  } else {
    dictation_.cancel();
  }
}

}  // namespace pell
