#include "pipeline/DictationController.h"

#include <exception>
#include <utility>

#include "pipeline/Recorder.h"
#include "pipeline/SecureInput.h"
#include "pipeline/TextInjector.h"
#include "platform/AccessibilityTree.h"
#include "platform/Services.h"
#include "server/ApiClient.h"
#include "stores/AppSettings.h"
#include "stores/Log.h"

namespace pell {

namespace {

constexpr std::string_view startSound = "Tink";
constexpr std::string_view stopSound = "Pop";
constexpr std::string_view activityReason = "Dictation in progress";
constexpr std::string_view savedInHistory = " It is saved in your dictation history.";

template <class Case>
bool is(const DictationPhase& phase) {
  return std::holds_alternative<Case>(phase);
}

std::string wordCount(std::int64_t words) {
  return std::to_string(words) + (words == 1 ? " word" : " words");
}

std::string andSaved(std::string message) { return std::move(message).append(savedInHistory); }

}  // namespace

DictationController::DictationController(Dependencies dependencies)
    : dependencies_(std::move(dependencies)), tasks_(dependencies_.main) {
  dependencies_.recorder.onChange = [this] { recorderChanged(); };
}

DictationController::~DictationController() { dependencies_.recorder.onChange = nullptr; }

bool DictationController::isBusy() const {
  return is<phase::Recording>(phase_) || is<phase::Transcribing>(phase_);
}

void DictationController::recorderChanged() {
  const Recorder& recorder = dependencies_.recorder;
  set(level_, recorder.level());
  set(elapsedSeconds_, recorder.elapsedSeconds());
  auto* failed = std::get_if<Recorder::Failed>(&recorder.state());
  if (failed && is<phase::Recording>(phase_)) fail(failed->message);
}

// ---------------------------------------------------------------- the operations

void DictationController::begin() {
  if (isBusy()) return;
  transientMessage_.cancel();
  if (auto reason = dependencies_.secureInput.current()) {
    dependencies_.log.warn("dictation_refused_secure_field", {{"reason", rawValue(*reason)}});
    fail(std::string(SecureInput::refusal));
    return;
  }
  targetWasPell_ = dependencies_.workspace.isSelfActive();
  resolveStyle();
  // The panel listens from here on, before the microphone has been asked for anything.
  set<Phase>(phase_, phase::Recording{});
  beginActivity();
  phaseChanged();
  if (dependencies_.settings.playSounds) dependencies_.sounds.play(startSound);
  tasks_.spawn(startRecording());
}

void DictationController::finish() {
  if (!is<phase::Recording>(phase_)) return;
  auto audio = dependencies_.recorder.stop();
  if (!audio) {
    enterIdle();
    return;
  }
  if (dependencies_.settings.playSounds) dependencies_.sounds.play(stopSound);
  set<Phase>(phase_, phase::Transcribing{});
  beginActivity();
  phaseChanged();
  startPolishingTimer();
  tasks_.spawn(upload(std::move(*audio)));
}

void DictationController::cancel() {
  if (!is<phase::Recording>(phase_)) return;
  dependencies_.recorder.cancel();
  enterIdle();
}

void DictationController::toggle() {
  if (is<phase::Transcribing>(phase_)) return;
  if (is<phase::Recording>(phase_)) {
    finish();
  } else {
    begin();
  }
}

void DictationController::clearMessage() {
  dependencies_.recorder.clearFailure();
  stopPolishingTimer();
  enterIdle();
}

// ---------------------------------------------------------------- the beginning

void DictationController::resolveStyle() {
  if (!styleRules) {
    clearStyle();
    return;
  }
  StyleResolver::Rules rules = styleRules();
  std::optional<RunningApplication> target;
  if (!targetWasPell_) target = dependencies_.workspace.frontmostApplication();
  DictationContext context;
  if (target) context.bundleID = target->bundleIdentifier;
  if (rules.contextAware && rules.useBrowserHost && dependencies_.browserHost) {
    context.browserHost = dependencies_.browserHost(target);
  }
  StyleResolver::Resolution resolution = StyleResolver::resolve(context, rules);
  set(activeStyleID_, resolution.styleID);
  set(activeStyleSource_, resolution.source);
  std::optional<DictationStyle> style;
  if (resolution.styleID && styleForID) style = styleForID(*resolution.styleID);
  set(activeStyle_, std::move(style));
  if (resolution.source == StyleResolver::Source::override && onOverrideConsumed) onOverrideConsumed();
  dependencies_.log.info("style_resolved", {{"style", resolution.styleID.value_or("server_default")},
                                            {"source", rawValue(resolution.source)},
                                            {"app", context.bundleID.value_or("pell")},
                                            {"host_matched", context.browserHost.has_value()}});
}

void DictationController::clearStyle() {
  set<std::optional<std::string>>(activeStyleID_, std::nullopt);
  set<std::optional<DictationStyle>>(activeStyle_, std::nullopt);
  set(activeStyleSource_, StyleResolver::Source::serverDefault);
}

Task<void> DictationController::startRecording() {
  bool started = co_await dependencies_.recorder.start();
  if (started) co_return;
  auto* failed = std::get_if<Recorder::Failed>(&dependencies_.recorder.state());
  fail(failed ? failed->message : "Pell could not start recording.");
}

// ---------------------------------------------------------------- the upload and what follows

Task<void> DictationController::upload(std::string audio) {
  auto result = co_await transcribe(std::move(audio));
  if (result) land(*result);
}

Task<std::optional<TranscriptionResult>> DictationController::transcribe(std::string audio) {
  ApiClient::Upload request{.audio = std::move(audio),
                            .contentType = std::string(Recorder::contentType),
                            .language = dependencies_.settings.language,
                            .style = activeStyleID_};
  auto reply = dependencies_.api.transcribe(std::move(request));
  try {
    co_return co_await std::move(reply);
  } catch (const ApiClient::Failure& failure) {
    std::string description = failure.description();
    if (failure.isQuotaExceeded() && onQuotaExceeded) onQuotaExceeded(description);
    fail(description);
    dependencies_.log.warn("dictation_failed", {{"reason", description}});
  } catch (const std::exception& error) {
    fail(error.what());
    dependencies_.log.error("dictation_failed", {{"reason", error.what()}});
  }
  co_return std::nullopt;
}

void DictationController::land(const TranscriptionResult& result) {
  // The application in front now, not the one at the beginning: the user may have moved on.
  std::optional<RunningApplication> target;
  if (!targetWasPell_) target = dependencies_.workspace.frontmostApplication();
  auto id = saveToHistory(result, target);
  place(result, id);
  // The server has metered the dictation, wherever its text went.
  if (onUsageChanged) onUsageChanged();
  if (result.unlocked && !result.unlocked->empty() && onMilestonesUnlocked) {
    onMilestonesUnlocked(*result.unlocked);
  }
}

void DictationController::place(const TranscriptionResult& result, const std::optional<std::string>& id) {
  if (!targetWasPell_) {
    if (auto reason = dependencies_.secureInput.current()) {
      dependencies_.log.warn("delivery_refused_secure_field", {{"reason", rawValue(*reason)}});
      markDelivery(id, DictationRecord::Delivery::failed);
      fail(andSaved(std::string(SecureInput::refusal)));
      return;
    }
  } else if (insertIntoEditor && insertIntoEditor(result)) {
    dependencies_.log.info("delivered", {{"route", "editor"}, {"words", result.words}});
    markDelivery(id, DictationRecord::Delivery::note);
    flash("Added to your note");
    return;
  }
  inject(result, id);
}

void DictationController::inject(const TranscriptionResult& result, const std::optional<std::string>& id) {
  using Delivery = DictationRecord::Delivery;
  auto mode = dependencies_.settings.injectionMode.get();
  auto outcome = dependencies_.injector.deliver(result.transcript, mode);
  dependencies_.log.info("delivered", {{"route", "injector"},
                                       {"target_was_pell", targetWasPell_},
                                       {"mode", rawValue(mode)},
                                       {"accessibility", dependencies_.accessibility.isTrusted()},
                                       {"outcome", describe(outcome)},
                                       {"words", result.words}});
  if (std::holds_alternative<injection::Inserted>(outcome)) {
    markDelivery(id, Delivery::inserted);
    flash(wordCount(result.words));
  } else if (std::holds_alternative<injection::Pasted>(outcome)) {
    markDelivery(id, Delivery::pasted);
    flash(wordCount(result.words));
  } else if (std::holds_alternative<injection::Copied>(outcome)) {
    markDelivery(id, Delivery::copied);
    flash(dependencies_.words("Copied. Press ⌘V"));
  } else {
    markDelivery(id, Delivery::failed);
    fail(andSaved(std::get<injection::Failed>(outcome).message));
  }
}

std::optional<std::string> DictationController::saveToHistory(
    const TranscriptionResult& result, const std::optional<RunningApplication>& target) {
  if (!dictationHistory) return std::nullopt;
  DictationsRepository::NewDictation dictation{.text = result.transcript,
                                               .words = result.words,
                                               .characters = result.characters,
                                               .duration = result.durationSeconds,
                                               .promptVersionTitle = result.cleanupPromptVersionTitle};
  if (target) {
    dictation.targetBundleID = target->bundleIdentifier;
    if (!target->localizedName.empty()) dictation.targetApp = target->localizedName;
  }
  if (result.cleanupPromptVersionTitle) dictation.rawText = result.rawTranscript;
  std::string id;
  try {
    id = dictationHistory->record(std::move(dictation)).id;
  } catch (const std::exception& error) {
    dependencies_.log.error("history_write_failed", {{"reason", error.what()}});
    return std::nullopt;
  }
  if (onHistoryChanged) onHistoryChanged();
  return id;
}

void DictationController::markDelivery(const std::optional<std::string>& id,
                                       DictationRecord::Delivery delivery) {
  if (!id || !dictationHistory) return;
  try {
    dictationHistory->setDelivery(*id, delivery);
  } catch (const std::exception& error) {
    dependencies_.log.warn("history_delivery_update_failed", {{"reason", error.what()}});
    return;
  }
  if (onHistoryChanged) onHistoryChanged();
}

// ---------------------------------------------------------------- messages, timers, activity

void DictationController::startPolishingTimer() {
  stopPolishingTimer();
  polishing_ = dependencies_.main.postAfter(polishingAfterSeconds, [this] {
    if (is<phase::Transcribing>(phase_)) set(isPolishing_, true);
  });
}

void DictationController::stopPolishingTimer() {
  polishing_.cancel();
  set(isPolishing_, false);
}

void DictationController::show(MessageKind kind, std::string message) {
  bool finished = kind == MessageKind::finished;
  stopPolishingTimer();
  set<Phase>(phase_, finished ? Phase(phase::Finished{std::move(message)})
                              : Phase(phase::Failed{std::move(message)}));
  // A message entered straight from idle holds the activity too.
  beginActivity();
  phaseChanged();
  transientMessage_ = dependencies_.main.postAfter(finished ? finishedMessageSeconds : failureMessageSeconds,
                                                   [this, kind] { messageShown(kind); });
}

void DictationController::messageShown(MessageKind kind) {
  if (kind == MessageKind::finished) {
    if (is<phase::Finished>(phase_)) enterIdle();
  } else if (is<phase::Failed>(phase_)) {
    clearMessage();
  }
}

void DictationController::enterIdle() {
  set<Phase>(phase_, phase::Idle{});
  endActivity();
  phaseChanged();
}

void DictationController::beginActivity() {
  if (!activity_) activity_ = dependencies_.activity.begin(activityReason);
}

void DictationController::endActivity() { activity_.reset(); }

void DictationController::phaseChanged() {
  if (onPhaseChanged) onPhaseChanged();
}

}  // namespace pell
