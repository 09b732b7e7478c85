#include "app/StatusContent.h"

#include <fmt/format.h>

namespace pell {
namespace {

StatusContent idle(const StatusInput& input, const Words& words) {
  if (!input.hasAccessibility) {
    return {.title = "Pell",
            .detail = "The desktop's accessibility service is off, so Pell cannot watch the key."};
  }
  return {.title = "Pell", .detail = label(input.trigger, words)};
}

StatusContent recording(const StatusInput& input, const Words& words) {
  const char* verb = isPushToTalk(input.trigger) ? "Release" : "Press";
  return {.title = "Listening…",
          .detail = fmt::format("{} {} to finish · esc cancels", verb, glyph(input.trigger, words))};
}

}  // namespace

StatusContent statusContent(const StatusInput& input, const Words& words) {
  StatusContent content;
  if (std::holds_alternative<phase::Recording>(input.phase)) {
    content = recording(input, words);
  } else if (std::holds_alternative<phase::Transcribing>(input.phase)) {
    content = {.title = input.isPolishing ? "Polishing…" : "Transcribing…", .detail = {}};
  } else if (auto* finished = std::get_if<phase::Finished>(&input.phase)) {
    content = {.title = finished->message, .detail = {}};
  } else if (auto* failed = std::get_if<phase::Failed>(&input.phase)) {
    content = {.title = "Dictation failed", .detail = failed->message};
  } else {
    content = idle(input, words);
  }
  const bool isRecording = std::holds_alternative<phase::Recording>(input.phase);
  content.tooltip = content.detail.empty() ? content.title : content.title + "\n" + content.detail;
  content.toggleTitle = isRecording ? "End Dictation" : "Start Dictation";
  content.canCancel = isRecording;
  content.offersAccessibility = !input.hasAccessibility;
  return content;
}

std::string windowNotice(const AppState& state) {
  if (const auto& banner = state.banner.get()) return *banner;
  const auto& account = state.account.get();
  const AppState::Screen screen = state.screen;
  // A session that a reload found lost leaves the account where it stands.
  if (account && screen != AppState::Screen::signedOut)
    return fmt::format("Signed in as {}.", account->email);
  if (screen == AppState::Screen::loading) return "";
  return "You are not signed in. In a terminal: pell register EMAIL, or pell sign-in EMAIL.";
}

}  // namespace pell
