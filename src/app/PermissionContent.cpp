#include "app/PermissionContent.h"

namespace pell {
namespace {

using Button = PermissionContent::Button;

const Button quit{"Quit Pell", PermissionAction::quitApp};

std::optional<PermissionContent::SettingsRows> rows(std::string otherApp) {
  if (otherApp.empty()) return std::nullopt;
  return PermissionContent::SettingsRows{.appName = "Pell", .otherApp = std::move(otherApp)};
}

PermissionContent waitingForAccessibility(const Words& words) {
  return {.heading = words("Find Pell in the list"),
          .paragraphs = {words("Switch it on and come straight back. Pell will notice by itself.")},
          .illustration = rows(words("Raycast")),
          .button = Button{"Open Accessibility settings again", PermissionAction::openAccessibilitySettings}};
}

PermissionContent::Help accessibilityHelp(const Words& words) {
  return {
      .heading = "Not working?",
      .lines = {words("1. Pell isn't in the list. Press +, choose Pell in Applications, and it will appear "
                      "switched on."),
                words("2. Pell is there but switched off. Click the toggle."),
                words("3. Switched on and still nothing. Switch Pell off and then on again. macOS ties this "
                      "permission to the exact copy of the app, and it can hold on to an older one.")}};
}

}  // namespace

PermissionContent microphoneContent(PermissionState state, bool embedded, const Words& words) {
  const auto link = embedded ? std::nullopt : std::optional(quit);
  switch (state) {
    case PermissionState::blocked:
      return {
          .heading = "Microphone access is off",
          .paragraphs = {words("macOS only offers that choice once, so it has to be switched on by hand. It "
                               "takes about five seconds.")},
          .illustration = rows(words("Zoom")),
          .button = Button{"Open Microphone settings", PermissionAction::openMicrophoneSettings},
          .link = link};
    case PermissionState::restricted:
      return {
          .heading = words("Your Mac won't allow microphone access"),
          .paragraphs = {words("This Mac is managed, and microphone access is switched off for every app. "
                               "Pell can't work until an administrator changes that.")},
          .link = link};
    case PermissionState::noDevice:
      return {.heading = "Pell can't find a microphone",
              .paragraphs = {"Plug one in or connect a headset, and Pell will pick it up."},
              .button = Button{"Check again", PermissionAction::recheckMicrophoneDevice}};
    case PermissionState::explaining:
    case PermissionState::waiting:
    case PermissionState::stuck:
      break;
  }
  return {
      .heading = "Let Pell hear you",
      .paragraphs = {"Pell records only while you hold the key, and the recording is deleted the moment the "
                     "words come back."},
      .button = Button{"Allow microphone access", PermissionAction::requestMicrophoneAccess},
      .belowButton = words("Audio is never stored, not on this Mac and not on Pell's servers. Only the text "
                           "it becomes is kept.")};
}

PermissionContent accessibilityContent(PermissionState state, bool embedded, const Words& words) {
  if (state == PermissionState::waiting) return waitingForAccessibility(words);
  if (state == PermissionState::stuck) {
    PermissionContent content = waitingForAccessibility(words);
    content.help = accessibilityHelp(words);
    if (!embedded) content.link = quit;
    return content;
  }
  return {
      .heading = "Let Pell type for you",
      .paragraphs = {words(
                         "macOS calls this Accessibility. It's the permission that lets Pell put your words "
                         "into whatever app you're working in: Mail, Slack, a browser, anything."),
                     words("Pell uses it to watch for your dictation key, to place finished text, and to "
                           "check you are not typing into a password field, where it refuses. It does not "
                           "read what is on your screen, and nothing it checks ever leaves your Mac.")},
      .button = Button{"Open Accessibility settings", PermissionAction::beginAccessibilityRequest}};
}

PermissionContent reauthorizationContent(const ReauthorizationState& state, const Words& words) {
  if (auto* microphone = std::get_if<reauthorization::Microphone>(&state)) {
    return microphoneContent(microphone->state, true, words);
  }
  if (auto* accessibility = std::get_if<reauthorization::Accessibility>(&state)) {
    return accessibilityContent(accessibility->state, true, words);
  }
  return {.heading = "You're all set.", .isDone = true};
}

}  // namespace pell
