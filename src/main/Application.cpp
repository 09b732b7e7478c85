#include "main/Application.h"

#include <QApplication>
#include <QSessionManager>
#include <QSystemTrayIcon>
#include <array>
#include <cstdlib>
#include <functional>
#include <thread>
#include <vector>

#include "app/AppDelegate.h"
#include "app/StatusContent.h"
#include "app/view/StatusWindow.h"
#include "app/view/TrayItem.h"
#include "main/AccountQuery.h"
#include "main/BusName.h"
#include "main/Commands.h"
#include "main/ControlClient.h"
#include "main/ControlServer.h"
#include "main/Essentials.h"
#include "main/InstanceLock.h"
#include "main/LinuxPlatform.h"
#include "main/NotesCommands.h"
#include "main/SessionCommand.h"
#include "main/ShutdownWatch.h"
#include "main/StandardStreams.h"
#include "platform/linux/Heap.h"
#include "platform/linux/LinuxWords.h"
#include "platform/linux/SignalWatch.h"
#include "platform/linux/TimeZoneWatch.h"
#include "platform/linux/X11Connection.h"
#include "shell/Mark.h"

namespace pell {
namespace {

constexpr Seconds activateLimit{2};
constexpr const char* identifier = "com.pell.dictation";

/// The one that runs may still be starting, or already ending.
int activateRunningInstance() {
  for (int attempt = 0; attempt < 10; ++attempt) {
    if (askRunningInstance(controlSocket(), {.command = "activate"}, activateLimit)) return 0;
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
  }
  return failWith("another Pell is running and does not answer");
}

/// Asked before Qt, which ends the process without a word of ours where there is no display.
std::optional<std::string> whyThereIsNoDisplay() {
  auto opening = X11Connection::open();
  if (auto* unavailable = std::get_if<X11Unavailable>(&opening)) return unavailable->reason;
  return std::nullopt;
}

/// The application with its faces: tray, window and control socket.
class Application {
 public:
  Application(Essentials& essentials, LinuxPlatform& platform)
      : log_(essentials.log()),
        words_(linuxWords()),
        platform_(platform),
        delegate_(platform.record()),
        window_([this] { delegate_.model().permissions().beginAccessibilityRequest(); }),
        tray_(platform.main(), {.toggle = [this] { delegate_.dictation().toggle(); },
                                .cancel = [this] { delegate_.route(HotKeyMonitor::Event::cancel); },
                                .open = [this] { openWindow(); },
                                .quit = [this] { terminate("quit"); }}),
        control_([this](const ControlRequest& request, ControlServer::Answer answer) {
          control(request, std::move(answer));
        }),
        signals_(platform.main(), [this](int) { terminate("signal"); }),
        shutdown_([this] { terminate("shutdown"); }),
        timeZone_(platform.main(), [] {}),
        tasks_(platform.main()) {
    // `bringToFront` stays unset: this plain window shows no step of the onboarding, and coming forward it
    // would take the focus from the field that a dictation is meant for.
    delegate_.quit = [this] { terminate("quit"); };
    const AppState& state = delegate_.model().state();
    const auto showStatus = [this] { refresh(); };
    const auto showNotice = [this] { window_.showNotice(windowNotice(delegate_.model().state())); };
    observations_ = {delegate_.dictation().observe(showStatus),
                     delegate_.settings().trigger.subscribe(showStatus),
                     delegate_.lastAccessibilityState().subscribe(showStatus),
                     state.screen.subscribe(showNotice),
                     state.screen.subscribe([this, &state] {
                       log_.info("screen_changed", {{"screen", logLabel(state.screen)}});
                     }),
                     state.account.subscribe(showNotice),
                     state.banner.subscribe(showNotice)};
    showNotice();
    QObject::connect(qApp, &QGuiApplication::applicationStateChanged, &window_,
                     [this](Qt::ApplicationState now) {
                       if (now == Qt::ApplicationActive) {
                         tasks_.spawn(delegate_.model().session().recheckAfterActivation());
                       }
                     });
    QObject::connect(qApp, &QGuiApplication::commitDataRequest, &window_,
                     [this](QSessionManager&) { prepareForTheEnd(); });
  }

  bool listen() { return control_.listen(controlSocket()); }

  int run(bool hidden) {
    delegate_.applicationDidFinishLaunching();
    refresh();
    if (!hidden) {
      openWindow();
      return QApplication::exec();
    }
    tasks_.spawn(delegate_.model().session().start());
    if (!QSystemTrayIcon::isSystemTrayAvailable()) {
      // Hidden entirely, it could not be found again; in front, it would take the focus from whoever types.
      window_.showMinimized();
    }
    return QApplication::exec();
  }

 private:
  void refresh() {
    auto& dictation = delegate_.dictation();
    StatusContent content = statusContent({.phase = dictation.phase(),
                                           .isPolishing = dictation.isPolishing(),
                                           .trigger = delegate_.settings().trigger,
                                           .hasAccessibility = delegate_.permissions().hasAccessibility()},
                                          words_);
    if (content == shown_) return;
    shown_ = content;
    tray_.show(content, mark::menuBarPhase(dictation.phase()));
    window_.show(content);
  }

  /// Each time its window opens, Pell looks anew who is signed in: at login there may have been no network.
  /// The question goes out first, and is answered while the window is being drawn.
  void openWindow() {
    if (!window_.isVisible()) tasks_.spawn(delegate_.model().session().start());
    opening_ = platform_.main().postAfter(Seconds(0), [this] { window_.bringToFront(); });
  }

  void control(const ControlRequest& request, ControlServer::Answer answer) {
    if (changesSession(request)) {
      tasks_.spawn(answerSession(request, std::move(answer)));
    } else if (asksAboutAccount(request)) {
      tasks_.spawn(answerQuestion(request, std::move(answer)));
    } else if (request.command == "dictate") {
      answer(dictate(request.argument));
    } else if (request.command == notesChangedWord) {
      delegate_.model().notes().reloadNotes();
      answer({.ok = true});
    } else if (request.command == "activate") {
      openWindow();
      answer({.ok = true});
    } else {
      answer({.ok = false, .message = "This Pell does not know that command."});
    }
  }

  Task<void> answerSession(ControlRequest request, ControlServer::Answer answer) {
    ControlReply reply = co_await changeSession(delegate_.model(), delegate_.keychain(), std::move(request));
    answer(std::move(reply));
  }

  Task<void> answerQuestion(ControlRequest request, ControlServer::Answer answer) {
    ControlReply reply = co_await answerAboutAccount(delegate_.api(), std::move(request));
    answer(std::move(reply));
  }

  ControlReply dictate(const std::string& argument) {
    auto action = dictateAction(argument);
    if (!action) return {.ok = false, .message = "This Pell does not know that action."};
    auto& dictation = delegate_.dictation();
    switch (*action) {
      case DictateAction::begin:
        dictation.begin();
        break;
      case DictateAction::finish:
        dictation.finish();
        break;
      case DictateAction::toggle:
        dictation.toggle();
        break;
      case DictateAction::cancel:
        delegate_.route(HotKeyMonitor::Event::cancel);
        break;
    }
    if (auto* failed = std::get_if<phase::Failed>(&dictation.phase())) {
      return {.ok = false, .message = failed->message};
    }
    return {.ok = true};
  }

  void terminate(const char* reason) {
    log_.info("terminating", {{"reason", reason}});
    prepareForTheEnd();
    QCoreApplication::quit();
  }

  /// A desktop that ends the session may end this process without another word.
  void prepareForTheEnd() {
    delegate_.applicationShouldTerminate();
    platform_.pasteboard().handOver();
  }

  const Log& log_;
  Words words_;
  LinuxPlatform& platform_;
  AppDelegate delegate_;
  StatusWindow window_;
  TrayItem tray_;
  std::optional<StatusContent> shown_;
  std::vector<Subscription> observations_;
  ControlServer control_;
  SignalWatch signals_;
  ShutdownWatch shutdown_;
  BusName busName_{identifier};
  TimeZoneWatch timeZone_;
  DelayedWork opening_;
  TaskScope tasks_;
};

}  // namespace

int runApplication(const std::string& name, const RunCommand& command) {
  setHeapLimits();
  auto folder = runtimeFolder();
  if (folder.empty()) return failWith("there is no private folder for this session; set XDG_RUNTIME_DIR");
  InstanceLock lock(folder / "lock");
  if (lock.state() == InstanceLock::State::taken) return command.hidden ? 0 : activateRunningInstance();
  if (lock.state() == InstanceLock::State::unavailable) {
    return failWith("the file " + (folder / "lock").string() + " cannot be opened");
  }
  if (auto reason = whyThereIsNoDisplay()) {
    return failWith("there is no display: " + *reason + " ('./dev demo' needs none)");
  }

  // Global keys and synthetic input are those of the X server, also where Wayland runs above it or the user
  // has chosen another platform for Qt programs.
  ::setenv("QT_QPA_PLATFORM", "xcb", 1);
  QApplication::setDesktopFileName(identifier);
  QApplication::setApplicationName("Pell");
  QApplication::setQuitOnLastWindowClosed(false);
  std::array<std::string, 3> words{name, "-name", identifier};  // the instance part of WM_CLASS
  std::array<char*, 4> arguments{words[0].data(), words[1].data(), words[2].data(), nullptr};
  int count = 3;
  QApplication qt(count, arguments.data());

  Essentials essentials;
  auto opening = LinuxPlatform::open(essentials);
  if (auto* unavailable = std::get_if<LinuxPlatform::Unavailable>(&opening))
    return failWith(unavailable->reason);
  auto& platform = std::get<std::unique_ptr<LinuxPlatform>>(opening);
  Application application(essentials, *platform);
  if (!application.listen()) essentials.log().warn("control_socket_unavailable");
  return application.run(command.hidden);
}

}  // namespace pell
