#include "app/AppDelegate.h"

#include <utility>

#include "pipeline/DictationPhase.h"
#include "platform/Services.h"
#include "platform/Workspace.h"

namespace pell {

AppDelegate::AppDelegate(const Platform& platform)
    : main_(platform.main),
      clock_(platform.clock),
      workspace_(platform.workspace),
      log_(platform.log),
      config_(platform.build, platform.locations, platform.defaults),
      settings_(platform.defaults, platform.loginItem, log_),
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
      hotKeys_(platform.eventTaps, platform.main, log_, [this](HotKeyMonitor::Event event) { route(event); }),
      tasks_(platform.main) {
  openStore();
  installCallbacks();
}

AppDelegate::~AppDelegate() = default;

void AppDelegate::openStore() {
  try {
    database_.emplace(config_.databaseURL());
    history_.emplace(*database_, clock_);
    dictation_.dictationHistory = &*history_;
  } catch (const Database::Failure& failure) {
    database_.reset();
    storeFailure_ = failure.message();
    log_.error("store_unavailable", {{"reason", failure.message()}});
  }
}

void AppDelegate::installCallbacks() {
  api_.setSessionLostHandler(
      [this, alive = std::weak_ptr(alive_), &main = main_](Keychain::ReadOutcome outcome) {
        main.post([this, alive, outcome] {
          if (!alive.expired() && sessionLost) sessionLost(outcome);
        });
      });
  dictation_.onPhaseChanged = [this] { updatePanelVisibility("phase"); };
  hotKeys_.onShortTap = [this] {
    if (onShortTap) onShortTap();
  };
}

void AppDelegate::applicationDidFinishLaunching() {
  recorder_.sweepOrphans(recorder_.scratch(), clock_.now());
  armHotKeys();
  observePanelState();
  log_.info("app_launched", {{"version", config_.version()}});
}

AppDelegate::TerminateReply AppDelegate::applicationShouldTerminate() {
  if (flushPendingSave) flushPendingSave();
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
  if (syncPermissions) syncPermissions(permissions_.hasMicrophone(), permissions_.hasAccessibility());
  updatePanelVisibility("poll");
}

void AppDelegate::updatePanelVisibility(std::string_view trigger) {
  if (!applyPanel) return;
  PanelContext context = modelPanelContext ? modelPanelContext() : PanelContext{};
  context.floatingPanelEnabled = settings_.showFloatingPanel;
  context.dictationBarEnabled = settings_.showDictationBar;
  context.isIdle = std::holds_alternative<phase::Idle>(dictation_.phase());
  context.pellIsActive = workspace_.isSelfActive();
  applyPanel(context, trigger);
}

void AppDelegate::armHotKeys() {
  const bool granted = permissions_.hasAccessibility();
  if (lastAccessibilityState_ != granted) noticeAccessibility(granted);
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
  if (granted && reportAction) tasks_.spawn(reportAction("action.accessibility"));
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
  if (dismissHudCoaching && dismissHudCoaching()) return;
  if (std::holds_alternative<phase::Failed>(dictation_.phase())) {
    dictation_.clearMessage();
  } else {
    dictation_.cancel();
  }
}

}  // namespace pell
