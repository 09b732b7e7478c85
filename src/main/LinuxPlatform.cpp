#include "main/LinuxPlatform.h"

#include <utility>

#include "main/Essentials.h"
#include "platform/linux/ApplicationIdentity.h"
#include "platform/linux/LinuxInstallation.h"
#include "platform/linux/LinuxWords.h"
#include "platform/linux/StyleSupplement.h"
#include "platform/portable/DateLocale.h"
#include "platform/portable/ThreadExecutor.h"
#include "platform/qt/QtFonts.h"

namespace pell {
namespace {

/// Moves what was opened into `place`; otherwise gives the reason.
template <class Service, class Opening>
std::optional<LinuxPlatform::Unavailable> take(Opening opening, std::unique_ptr<Service>& place) {
  if (auto* unavailable = std::get_if<X11Unavailable>(&opening)) {
    return LinuxPlatform::Unavailable{std::move(unavailable->reason)};
  }
  place = std::move(std::get<std::unique_ptr<Service>>(opening));
  return std::nullopt;
}

/// Without it the accessibility grant never comes, so the reason has to be somewhere.
bool inputIsAvailable(const Log& log) {
  const auto reason = whyX11InputIsUnavailable();
  if (!reason.empty()) log.warn("input_unavailable", {{"reason", reason}});
  return reason.empty();
}

}  // namespace

LinuxPlatform::Opening LinuxPlatform::open(Essentials& essentials) {
  Desktop desktop;
  if (auto reason = take(X11Workspace::open(essentials.log()), desktop.workspace)) return *reason;
  if (auto reason = take(X11Pasteboard::open(essentials.log()), desktop.pasteboard)) return *reason;
  auto& workspace = *desktop.workspace;
  auto& pasteboard = *desktop.pasteboard;
  X11SyntheticInput::Collaborators collaborators{
      .pasteStyle = [&workspace] { return workspace.pasteStyle(); },
      .offerPrimary = [&pasteboard] { pasteboard.offerAsPrimary(); }};
  if (auto reason = take(X11SyntheticInput::open(std::move(collaborators)), desktop.input)) return *reason;
  if (auto reason = take(X11SecureEntry::open(), desktop.secureEntry)) return *reason;
  return std::unique_ptr<LinuxPlatform>(new LinuxPlatform(essentials, std::move(desktop)));
}

LinuxPlatform::LinuxPlatform(Essentials& essentials, Desktop desktop)
    : essentials_(essentials),
      workspace_(std::move(desktop.workspace)),
      pasteboard_(std::move(desktop.pasteboard)),
      input_(std::move(desktop.input)),
      secureEntry_(std::move(desktop.secureEntry)),
      accessibility_({.activeProcess =
                          [&workspace = *workspace_] {
                            auto application = workspace.frontmostApplication();
                            return application ? application->processIdentifier : 0;
                          },
                      .own = &ownElements_,
                      .alsoNeeded = [available = inputIsAvailable(essentials.log())] { return available; }}),
      eventTaps_(main_, essentials.log()),
      audio_(main_, essentials.defaults(), essentials.log()),
      loginItem_(essentials.locations().configHome(), AutostartLoginItem::thisProgram()) {}

Platform LinuxPlatform::record() {
  return {.main = main_,
          .makeSerialExecutor = threadExecutors(),
          .clock = essentials_.clock(),
          .build = essentials_.build(),
          .locations = essentials_.locations().locations(),
          .installation = linuxInstallation(),
          .words = linuxWords(),
          .styleRules = linuxStyleRules(),
          .localeOfDates = localeOfDates(),
          .log = essentials_.logSink(),
          .defaults = essentials_.defaults(),
          .eventTaps = eventTaps_,
          .accessibility = accessibility_,
          .secureEntry = *secureEntry_,
          .input = *input_,
          .pasteboard = *pasteboard_,
          .audio = audio_,
          .workspace = *workspace_,
          .secureItems = essentials_.secureItems(),
          .http = essentials_.http(),
          .loginItem = loginItem_,
          .activity = activity_,
          .sounds = sounds_,
          .hasFontFamily = hasFontFamily,
          .browsers = linuxBrowsers()};
}

}  // namespace pell
