// The one object that makes every long-lived collaborator and answers for the life of the application.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "app/AppModel.h"
#include "app/Permissions.h"
#include "async/Executor.h"
#include "async/Task.h"
#include "async/TaskScope.h"
#include "pipeline/BrowserContext.h"
#include "pipeline/DictationController.h"
#include "pipeline/HotKeyMonitor.h"
#include "pipeline/PanelContext.h"
#include "pipeline/Recorder.h"
#include "pipeline/SecureInput.h"
#include "pipeline/TextInjector.h"
#include "platform/Platform.h"
#include "progress/CelebrationCentre.h"
#include "server/ApiClient.h"
#include "server/RemoteConfigStore.h"
#include "stores/AppConfig.h"
#include "stores/AppSettings.h"
#include "stores/Keychain.h"
#include "stores/Log.h"

namespace pell {

/// Wires the dictation pipeline to the platform and the application model to the pipeline, keeps the global
/// key armed, and routes its events. It shows nothing: faces observe `model()` and `dictation()` and call
/// them. Everything runs on with no window open.
///
/// Main thread only. The platform's services must outlive it. Destroying it abandons what is in flight.
class AppDelegate {
 public:
  static constexpr Seconds pollInterval{0.1};
  /// A dictation changes the history twice, when it is saved and when it is placed. The list is read once,
  /// after both, and not while the text is under way.
  static constexpr Seconds historyPause{0.05};

  /// Makes everything, opens the local store and joins the objects; nothing runs yet.
  explicit AppDelegate(const Platform& platform);
  AppDelegate(const AppDelegate&) = delete;
  AppDelegate& operator=(const AppDelegate&) = delete;
  ~AppDelegate();

  // What the faces fill in; each may stay unset.

  /// Carries out what the context asks of the floating panel. `trigger` ("phase", "coaching" or "poll") is
  /// for its log.
  std::function<void(const PanelContext& context, std::string_view trigger)> applyPanel;
  /// Brings the main window to the front.
  std::function<void()> bringToFront;
  /// Ends the application as its menu does.
  std::function<void()> quit;

  void applicationDidFinishLaunching();

  enum class TerminateReply { terminateNow };
  /// Brings everything to rest that the end of the process would lose or leave behind: the pending save,
  /// then a running recording with its stream and file, then the clipboard that a delivery still owes the
  /// user. The process may end as soon as this returns.
  TerminateReply applicationShouldTerminate();
  bool applicationShouldTerminateAfterLastWindowClosed() const { return false; }

  /// Brings the key monitor in line with the accessibility grant and the chosen trigger. Cheap when
  /// nothing has changed.
  void armHotKeys();

  /// What an event of the key, or a command that stands for it, does.
  void route(HotKeyMonitor::Event event);

  AppModel& model() { return model_; }
  DictationController& dictation() { return dictation_; }
  ApiClient& api() { return api_; }
  Keychain& keychain() { return keychain_; }
  CelebrationCentre& celebrations() { return celebrations_; }
  AppSettings& settings() { return settings_; }
  const AppConfig& config() const { return config_; }
  Permissions& permissions() { return permissions_; }
  TextInjector& injector() { return injector_; }
  const HotKeyMonitor& hotKeys() const { return hotKeys_; }

  /// The accessibility grant as `armHotKeys` last saw it; absent before.
  const Observable<std::optional<bool>>& lastAccessibilityState() const { return lastAccessibilityState_; }

 private:
  void join();
  void later(std::function<void()> work);
  Task<void> refreshUsage();
  Task<void> followRemoteConfig();
  void celebrate(const std::vector<std::string>& ids);
  void shortTap();
  void observePanelState();
  void poll();
  void updatePanelVisibility(std::string_view trigger);
  void noticeAccessibility(bool granted);
  void cancelEvent();

  Executor& main_;
  const WallClock& clock_;
  const Workspace& workspace_;
  const Installation installation_;
  Log log_;
  std::function<bool(std::string_view family)> hasFontFamily_;
  AppConfig config_;
  AppSettings settings_;
  Keychain keychain_;
  ApiClient api_;
  Recorder recorder_;
  Permissions permissions_;
  SecureInput secureInput_;
  TextInjector injector_;
  BrowserContext browserContext_;
  AppModel model_;
  DictationController dictation_;
  CelebrationCentre celebrations_;
  RemoteConfigStore remoteConfig_;
  HotKeyMonitor hotKeys_;

  bool armFailureLogged_ = false;
  Observable<std::optional<bool>> lastAccessibilityState_;
  RepeatingTimer panelTimer_;
  DelayedWork historyReload_;
  std::shared_ptr<bool> alive_ = std::make_shared<bool>(true);
  TaskScope tasks_;
};

}  // namespace pell
