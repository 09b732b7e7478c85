// The spine of the program: one dictation, from the key to the words.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "async/Executor.h"
#include "async/Observable.h"
#include "async/TaskScope.h"
#include "pipeline/DictationPhase.h"
#include "platform/Words.h"
#include "platform/Workspace.h"
#include "server/Records.h"
#include "stores/DictationsRepository.h"
#include "styles/DictationStyle.h"
#include "styles/StyleResolver.h"

namespace pell {

class AccessibilityTree;
class ActivityToken;
class ApiClient;
class AppSettings;
class Log;
class Recorder;
class SecureInput;
class SoundPlayer;
class SystemActivity;
class TextInjector;

/// Owns the state of the current dictation from the moment the trigger goes down until the finished text
/// has landed somewhere. It has no view and knows none. What it asks of the rest of the application comes
/// through closures, each of which may be left unset.
///
/// A dictation that reached the server is never lost: its text is written to the history before anything
/// tries to place it, and every message of a failed placement says so.
///
/// Main thread only. No operation reports a result; the outcome is the change of `phase`. Everything it is
/// given must outlive it. It may be destroyed at any time but from inside one of its own callbacks: what is
/// in flight is abandoned.
class DictationController {
 public:
  using Phase = DictationPhase;

  /// The normalised host of the page on show, when the application is a browser.
  using BrowserHost = std::function<std::optional<std::string>(const std::optional<RunningApplication>&)>;

  static constexpr Seconds polishingAfterSeconds{1.5};
  static constexpr Seconds finishedMessageSeconds{1.6};
  static constexpr Seconds failureMessageSeconds{5.0};

  struct Dependencies {
    Recorder& recorder;
    ApiClient& api;
    const AppSettings& settings;
    TextInjector& injector;
    SecureInput& secureInput;
    const AccessibilityTree& accessibility;
    const Workspace& workspace;
    SoundPlayer& sounds;
    SystemActivity& activity;
    Executor& main;
    Words words;
    const Log& log;
    BrowserHost browserHost = {};
  };

  /// Installs itself as the observer of the recorder.
  explicit DictationController(Dependencies dependencies);
  DictationController(const DictationController&) = delete;
  DictationController& operator=(const DictationController&) = delete;
  ~DictationController();

  // What the rest of the application fills in.
  std::function<StyleResolver::Rules()> styleRules;
  std::function<std::optional<DictationStyle>(const std::string& id)> styleForID;
  std::function<void()> onOverrideConsumed;
  std::function<bool(const TranscriptionResult&)> insertIntoEditor;  // true: it went into the open note
  std::function<void()> onUsageChanged;
  std::function<void()> onHistoryChanged;
  std::function<void(const std::vector<std::string>&)> onMilestonesUnlocked;
  DictationsRepository* dictationHistory = nullptr;  // null until a user's store is open
  std::function<void(const std::string& message)> onQuotaExceeded;
  std::function<void()> onPhaseChanged;

  const Phase& phase() const { return phase_; }
  /// A recording or an upload is under way; a message on show is not busy.
  bool isBusy() const;
  /// The upload has run for a while.
  bool isPolishing() const { return isPolishing_; }
  /// The microphone's level, 0 to 1.
  double level() const { return level_; }
  int elapsedSeconds() const { return elapsedSeconds_; }
  const std::optional<DictationStyle>& activeStyle() const { return activeStyle_; }
  StyleResolver::Source activeStyleSource() const { return activeStyleSource_; }
  /// The identifier that goes with the upload; absent means the server's default.
  const std::optional<std::string>& activeStyleID() const { return activeStyleID_; }

  /// Calls `listener` after each change of any of the values above.
  Subscription observe(std::function<void()> listener) { return listeners_.add(std::move(listener)); }

  /// Starts a dictation, unless one is running. Returns before the microphone has been asked for anything.
  void begin();
  /// Ends the recording and starts the upload.
  void finish();
  /// Throws a running recording away. An upload in flight always runs to its end.
  void cancel();
  void toggle();
  /// Drops whatever is on show.
  void clearMessage();

 private:
  enum class MessageKind { finished, failed };

  void recorderChanged();
  void resolveStyle();
  void clearStyle();
  Task<void> startRecording();

  Task<void> upload(std::string audio);
  Task<std::optional<TranscriptionResult>> transcribe(std::string audio);
  void land(const TranscriptionResult& result);
  void place(const TranscriptionResult& result, const std::optional<std::string>& id);
  void inject(const TranscriptionResult& result, const std::optional<std::string>& id);
  std::optional<std::string> saveToHistory(const TranscriptionResult& result,
                                           const std::optional<RunningApplication>& target);
  void markDelivery(const std::optional<std::string>& id, DictationRecord::Delivery delivery);

  void startPolishingTimer();
  void stopPolishingTimer();
  void flash(std::string message) { show(MessageKind::finished, std::move(message)); }
  void fail(std::string message) { show(MessageKind::failed, std::move(message)); }
  void show(MessageKind kind, std::string message);
  void messageShown(MessageKind kind);
  void enterIdle();
  void beginActivity();
  void endActivity();
  void phaseChanged();

  template <class T>
  void set(T& field, T value) {
    if (field == value) return;
    field = std::move(value);
    listeners_.notify();
  }

  Dependencies dependencies_;
  Phase phase_;
  bool isPolishing_ = false;
  double level_ = 0;
  int elapsedSeconds_ = 0;
  std::optional<DictationStyle> activeStyle_;
  StyleResolver::Source activeStyleSource_ = StyleResolver::Source::serverDefault;
  std::optional<std::string> activeStyleID_;
  bool targetWasPell_ = false;  // Pell itself was active when the dictation began
  Listeners listeners_;
  DelayedWork transientMessage_;
  DelayedWork polishing_;
  std::unique_ptr<ActivityToken> activity_;
  TaskScope tasks_;
};

}  // namespace pell
