#include "bench/support/Road.h"

#include <utility>

#include "app/StatusContent.h"
#include "bench/support/Figures.h"
#include "platform/linux/LinuxWords.h"

namespace pell::bench {

namespace {

Platform withServer(const Platform& real, HttpSession& server) {
  return {.main = real.main,
          .makeSerialExecutor = real.makeSerialExecutor,
          .clock = real.clock,
          .build = real.build,
          .locations = real.locations,
          .installation = real.installation,
          .words = real.words,
          .styleRules = real.styleRules,
          .localeOfDates = real.localeOfDates,
          .log = real.log,
          .defaults = real.defaults,
          .eventTaps = real.eventTaps,
          .accessibility = real.accessibility,
          .secureEntry = real.secureEntry,
          .input = real.input,
          .pasteboard = real.pasteboard,
          .audio = real.audio,
          .workspace = real.workspace,
          .secureItems = real.secureItems,
          .http = server,
          .loginItem = real.loginItem,
          .activity = real.activity,
          .sounds = real.sounds,
          .hasFontFamily = real.hasFontFamily,
          .browsers = real.browsers};
}

}  // namespace

Road::Road(std::unique_ptr<LinuxPlatform> platform, Essentials& essentials)
    : platform_(std::move(platform)),
      main_(platform_->main()),
      delegate_(withServer(platform_->record(), server_)),
      tray_(main_, {.toggle = [] {}, .cancel = [] {}, .open = [] {}, .quit = [] {}}),
      tasks_(main_) {
  essentials.defaults().set("microphoneAllowed", true);
  observation_ = delegate_.dictation().observe([this] { refresh(); });
  delegate_.applyPanel = [this](const PanelContext&, std::string_view trigger) {
    if (trigger == "phase") phaseSince_ = now();
  };
  auto& historyChanged = delegate_.dictation().onHistoryChanged;
  historyChanged = [this, reload = historyChanged] {
    if (!written_) written_ = now();
    reload();
  };
  delegate_.applicationDidFinishLaunching();
}

bool Road::open() {
  bool signedIn = false;
  auto signIn = [](ApiClient& api, bool& done) -> Task<void> {
    co_await api.signIn("someone@example.org", "password");
    done = true;
  };
  tasks_.spawn(signIn(delegate_.api(), signedIn));
  return waitUntil([&] { return signedIn && delegate_.permissions().hasAccessibility(); }, Seconds(10));
}

bool Road::waitUntil(const std::function<bool()>& done, Seconds limit) {
  const Instant end = now() + toNanoseconds(limit);
  while (!done() && now() < end) main_.runFor(Seconds(0.004));
  return done();
}

// What the application does at each change.
void Road::refresh() {
  auto& dictation = delegate_.dictation();
  const StatusContent content =
      statusContent({.phase = dictation.phase(),
                     .isPolishing = dictation.isPolishing(),
                     .trigger = delegate_.settings().trigger,
                     .hasAccessibility = delegate_.permissions().hasAccessibility()},
                    linuxWords());
  tray_.show(content, mark::menuBarPhase(dictation.phase()));
}

}  // namespace pell::bench
