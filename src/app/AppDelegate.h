// The one object that makes every long-lived collaborator and answers for the life of the application.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

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
#include "server/ApiClient.h"
#include "stores/AppConfig.h"
#include "stores/AppSettings.h"
#include "stores/Database.h"
#include "stores/DictationsRepository.h"
#include "stores/Keychain.h"
#include "stores/Log.h"

namespace pell {

/// Wires the dictation pipeline to the platform, keeps the global key armed, and routes its events. It
/// shows nothing: faces observe `dictation()` and call it. Everything runs on with no window open.
///
/// Main thread only. The platform's services must outlive it. Destroying it abandons what is in flight.
class AppDelegate {
 public:
  static constexpr Seconds pollInterval{0.1};

  /// Makes everything and opens the local store; nothing runs yet.
  explicit AppDelegate(const Platform& platform);
  AppDelegate(const AppDelegate&) = delete;
  AppDelegate& operator=(const AppDelegate&) = delete;
  ~AppDelegate();

  // What the rest of the application fills in; each may stay unset.

  /// Dismisses the coaching that is on show; false if there is none. It takes the Escape key first.
  std::function<bool()> dismissHudCoaching;
  /// Saves what an editor still holds back. Synchronous, as the process ends afterwards.
  std::function<void()> flushPendingSave;
  /// Tells the server of an action that earns a milestone.
  std::function<Task<void>(std::string action)> reportAction;
  /// The permissions as the poll finds them; called at every poll.
  std::function<void(bool hasMicrophone, bool hasAccessibility)> syncPermissions;
  /// What the application model knows of the floating panel's context: coaching, screen and section.
  std::function<PanelContext()> modelPanelContext;
  /// Carries out what the context asks of the floating panel. `trigger` ("phase" or "poll") is for its log.
  std::function<void(const PanelContext& context, std::string_view trigger)> applyPanel;
  /// A lone short tap of the trigger key.
  std::function<void()> onShortTap;
  /// A request found no usable session.
  std::function<void(Keychain::ReadOutcome)> sessionLost;

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

  DictationController& dictation() { return dictation_; }
  ApiClient& api() { return api_; }
  AppSettings& settings() { return settings_; }
  const AppConfig& config() const { return config_; }
  Permissions& permissions() { return permissions_; }
  TextInjector& injector() { return injector_; }
  const HotKeyMonitor& hotKeys() const { return hotKeys_; }

  /// The local history; null when the store could not be opened, and then `storeFailure` says why.
  DictationsRepository* history() { return history_ ? &*history_ : nullptr; }
  const std::optional<std::string>& storeFailure() const { return storeFailure_; }

 private:
  void openStore();
  void installCallbacks();
  void observePanelState();
  void poll();
  void updatePanelVisibility(std::string_view trigger);
  void noticeAccessibility(bool granted);
  void cancelEvent();

  Executor& main_;
  const WallClock& clock_;
  const Workspace& workspace_;
  Log log_;
  AppConfig config_;
  AppSettings settings_;
  Keychain keychain_;
  ApiClient api_;
  Recorder recorder_;
  Permissions permissions_;
  SecureInput secureInput_;
  TextInjector injector_;
  BrowserContext browserContext_;
  std::optional<Database> database_;
  std::optional<DictationsRepository> history_;
  std::optional<std::string> storeFailure_;
  DictationController dictation_;
  HotKeyMonitor hotKeys_;

  bool armFailureLogged_ = false;
  std::optional<bool> lastAccessibilityState_;
  RepeatingTimer panelTimer_;
  std::shared_ptr<bool> alive_ = std::make_shared<bool>(true);
  TaskScope tasks_;
};

}  // namespace pell
