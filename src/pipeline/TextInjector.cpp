#include "pipeline/TextInjector.h"

#include <memory>
#include <optional>
#include <system_error>
#include <utility>
#include <variant>

#include "editor/TextCounting.h"
#include "pipeline/SecureInput.h"
#include "platform/AccessibilityTree.h"
#include "platform/EventTap.h"
#include "platform/SyntheticInput.h"
#include "platform/Workspace.h"
#include "stores/AppConfig.h"
#include "stores/Log.h"

namespace pell {

namespace fs = std::filesystem;

namespace {

constexpr Seconds restoreAfterFailure{90.0};  // time for the user to paste as told
constexpr Seconds restoreAfterPaste{1.5};     // time for the target to read
constexpr Seconds longestModifierWait{0.6};
constexpr Seconds modifierPause{0.02};
constexpr Seconds keyHold{0.012};
constexpr Seconds messagingTimeout{0.75};
constexpr std::uint64_t heldModifiers =
    modifier::command | modifier::option | modifier::control | modifier::shift;

std::string withCode(std::string_view stage, AccessibilityError error) {
  return std::string(stage) + "(" + std::to_string(static_cast<int>(error)) + ")";
}

/// Each line break (CR LF, CR, LF, U+2028, U+2029) becomes one blank.
std::string onOneLine(std::string_view text) {
  constexpr std::string_view lineSeparator = "\u2028";
  constexpr std::string_view paragraphSeparator = "\u2029";
  std::string line;
  line.reserve(text.size());
  while (!text.empty()) {
    std::size_t length = 0;
    if (text.starts_with("\r\n")) {
      length = 2;
    } else if (text.front() == '\r' || text.front() == '\n') {
      length = 1;
    } else if (text.starts_with(lineSeparator) || text.starts_with(paragraphSeparator)) {
      length = lineSeparator.size();
    }
    line += length > 0 ? ' ' : text.front();
    text.remove_prefix(length > 0 ? length : 1);
  }
  return line;
}

}  // namespace

TextInjector::TextInjector(Dependencies dependencies) : dependencies_(std::move(dependencies)) {}

TextInjector::Outcome TextInjector::deliver(const std::string& text, Mode mode) {
  const auto& words = dependencies_.words;
  if (text.empty()) return injection::Failed{"There was nothing to insert."};
  if (mode == Mode::copyOnly) {
    copyToClipboard(text);
    return injection::Copied{};
  }
  if (auto reason = dependencies_.secureInput.current()) {
    dependencies_.log.warn("injection_refused_secure_field", {{"reason", rawValue(*reason)}});
    return injection::Failed{std::string(SecureInput::refusal)};
  }
  if (!dependencies_.accessibility.isTrusted()) {
    auto snapshot = dependencies_.pasteboard.items();
    copyToClipboard(text);
    scheduleClipboardRestore(owe(text, std::move(snapshot)), restoreAfterFailure);
    return injection::Failed{
        words("Pell needs Accessibility access to type for you. The text is on your clipboard. Press ⌘V.")};
  }
  if (mode == Mode::automatic && insertViaAccessibility(text)) return injection::Inserted{};
  if (pasteViaClipboard(text)) return injection::Pasted{};
  if (mode == Mode::paste) {
    return injection::Failed{
        words("Pell could not paste into that app. The text is on your clipboard. Press ⌘V.")};
  }
  return injection::Failed{
      words("Pell could not type into that app. The text is on your clipboard. Press ⌘V.")};
}

bool TextInjector::insertViaAccessibility(const std::string& text) {
  auto application = dependencies_.workspace.frontmostApplication();
  Attempt attempt = attemptInsertion(text, application ? &*application : nullptr);
  std::string name = application ? application->bundleIdentifier.value_or("unknown") : "unknown";
  dependencies_.log.info("ax_insert_attempt",
                         {{"stage", attempt.stage}, {"app", name}, {"role", attempt.role}});
  return attempt.inserted();
}

TextInjector::Attempt TextInjector::attemptInsertion(const std::string& text,
                                                     const RunningApplication* application) {
  auto system = dependencies_.accessibility.systemWide();
  if (!system) return {.stage = "focused_element_nil"};
  system->setMessagingTimeout(messagingTimeout);
  auto reading = system->copyAttribute(accessibility::focusedElement);
  if (reading.error != AccessibilityError::success) {
    return {.stage = withCode("focused_element_failed", reading.error)};
  }
  auto* held = std::get_if<AccessibilityElementRef>(&reading.value);
  if (!held || !*held) return {.stage = "focused_element_nil"};
  AccessibilityElement& element = **held;

  Attempt attempt;
  element.setMessagingTimeout(messagingTimeout);
  auto role = element.copyAttribute(accessibility::role);
  if (auto* name = std::get_if<std::string>(&role.value); name && role.error == AccessibilityError::success) {
    attempt.role = *name;
  }
  if (application && isChromiumBased(*application)) {
    attempt.stage = "skipped_chromium";
    return attempt;
  }
  // Some toolkits say yes to everything and insert nothing: their answer is not asked for.
  AccessibilityElement::Settable answer;
  if (!application || !application->rejectsAccessibilityText) {
    answer = element.isSettable(accessibility::selectedText);
  }
  if (answer.error != AccessibilityError::success || !answer.settable) {
    attempt.stage = withCode("not_settable", answer.error);
    return attempt;
  }
  auto error = element.setAttribute(accessibility::selectedText, text);
  attempt.stage = error == AccessibilityError::success ? "inserted" : withCode("set_failed", error);
  return attempt;
}

bool TextInjector::isChromiumBased(const RunningApplication& application) {
  if (!application.bundleIdentifier) return false;
  if (auto known = chromiumCache_.find(*application.bundleIdentifier); known != chromiumCache_.end()) {
    return known->second;
  }
  if (!application.bundleUrl) return false;
  bool chromium = isChromiumBundle(*application.bundleUrl);
  chromiumCache_.emplace(*application.bundleIdentifier, chromium);
  return chromium;
}

bool TextInjector::isChromiumBundle(const fs::path& bundle) {
  std::error_code failed;
  fs::directory_iterator at(bundle / "Contents" / "Frameworks", failed);
  for (; !failed && at != fs::directory_iterator(); at.increment(failed)) {
    std::string name = at->path().filename().string();
    if (!name.ends_with(".framework")) continue;
    bool engine = name.find("Electron") != std::string::npos || name.find("Chromium") != std::string::npos;
    if (engine || name.ends_with(" Framework.framework")) return true;
  }
  return false;
}

void TextInjector::copyToClipboard(const std::string& text) {
  PasteboardItem item;
  item.representations = {{std::string(pasteboardTypeString), text},
                          {std::string(concealedType), text},
                          {std::string(transientType), ""},
                          {std::string(autoGeneratedType), ""},
                          {std::string(sourceType), dependencies_.config.bundleID()}};
  dependencies_.pasteboard.clearContents();
  dependencies_.pasteboard.writeItems({std::move(item)});
}

bool TextInjector::pasteViaClipboard(const std::string& text) {
  auto snapshot = dependencies_.pasteboard.items();
  auto owed = owe(forPasteTarget(text), std::move(snapshot));
  copyToClipboard(owed->text);

  auto fail = [&](std::string_view stage) {
    dependencies_.log.error("paste_failed", {{"stage", stage}});
    scheduleClipboardRestore(owed, restoreAfterFailure);
    return false;
  };
  auto source = dependencies_.input.makeSource();
  if (!source) return fail("no_event_source");
  waitForModifiers(*source, *owed);
  // The process may have been told to end during the wait. What would be pasted now is not the dictation.
  if (owed->isOver) return fail("ended");

  // The focus may have moved to a terminal during the wait.
  if (auto now = forPasteTarget(text); now != owed->text) {
    owed->text = std::move(now);
    copyToClipboard(owed->text);
  }
  source->permitLocalEvents();
  auto keys = source->makePasteKeys();
  if (!keys) return fail("event_creation");
  keys->post(keyHold);
  dependencies_.log.info("paste_posted",
                         {{"characters", TextCounting::characters(owed->text)}, {"tap", "hid"}});
  scheduleClipboardRestore(owed, restoreAfterPaste);
  return true;
}

void TextInjector::waitForModifiers(EventSource& source, const PendingRestore& owed) {
  const Instant deadline = dependencies_.main.now() + toNanoseconds(longestModifierWait);
  while (std::uint64_t flags = source.modifierFlags()) {
    if ((flags & heldModifiers) == 0) return;
    if (dependencies_.main.now() >= deadline) {
      dependencies_.log.warn("paste_modifiers_stuck", {{"flags", flags}});
      return;
    }
    dependencies_.main.runFor(modifierPause);
    if (owed.isOver) return;
  }
}

std::string TextInjector::forPasteTarget(const std::string& text) {
  // In a terminal a line break runs what stands before it.
  return dependencies_.input.pasteTarget() == PasteTarget::terminal ? onOneLine(text) : text;
}

TextInjector::Owed TextInjector::owe(std::string text, Snapshot snapshot) {
  pending_.push_back(std::make_shared<PendingRestore>(
      PendingRestore{.text = std::move(text), .snapshot = std::move(snapshot), .timer = {}}));
  return pending_.back();
}

void TextInjector::scheduleClipboardRestore(const Owed& owed, Seconds delay) {
  if (owed->isOver) return;
  owed->timer = dependencies_.main.postAfter(delay, [this, weak = std::weak_ptr(owed)] {
    auto due = weak.lock();
    if (!due) return;
    std::erase(pending_, due);
    restore(*due);
  });
}

void TextInjector::restorePendingClipboard() {
  // Newest first: where one delivery's snapshot holds the text of the one before, this order ends with
  // what the user had before both.
  while (!pending_.empty()) {
    Owed newest = std::move(pending_.back());
    pending_.pop_back();
    restore(*newest);
  }
}

void TextInjector::restore(PendingRestore& owed) {
  owed.isOver = true;
  owed.timer.cancel();
  // Whatever was copied since is the user's, and wins.
  if (dependencies_.pasteboard.string() != owed.text) return;
  dependencies_.pasteboard.clearContents();
  if (!owed.snapshot.empty()) dependencies_.pasteboard.writeItems(owed.snapshot);
}

}  // namespace pell
