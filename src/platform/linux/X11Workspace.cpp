#include "platform/linux/X11Workspace.h"

#include <X11/Xatom.h>
#include <X11/Xlib.h>
#include <X11/Xutil.h>
#include <gio/gio.h>
#include <mutex>
#include <string>
#include <system_error>
#include <unistd.h>
#include <utility>

#include "platform/linux/DesktopSettings.h"
#include "platform/linux/GLibPtr.h"
#include "platform/linux/X11Loop.h"
#include "stores/Log.h"

namespace pell {

namespace fs = std::filesystem;

namespace {

constexpr long longestProperty = 256;  // in units of four bytes

fs::path executableOf(int process) {
  std::error_code failed;
  auto path = fs::read_symlink("/proc/" + std::to_string(process) + "/exe", failed);
  return failed ? fs::path() : path;
}

}  // namespace

struct X11Workspace::Watcher {
  struct Front {
    RunningApplication application;
    PasteStyle pasteStyle = PasteStyle::controlV;
  };

  explicit Watcher(std::unique_ptr<X11Connection> connection)
      : server(*connection), entries(DesktopEntries::standardFolders()), loop("pell-front") {
    activeWindow = server.atom("_NET_ACTIVE_WINDOW");
    processId = server.atom("_NET_WM_PID");
    applicationId = server.atom("_GTK_APPLICATION_ID");
    utf8 = server.atom("UTF8_STRING");
    XSelectInput(server.display(), server.root(), PropertyChangeMask);
    followActiveWindow();
    loop.watch(std::move(connection), [this](XEvent& event) { onEvent(event); });
  }

  void onEvent(XEvent& event);
  void followActiveWindow();
  void describe();
  std::optional<Front> read();
  std::optional<unsigned long> number(Window window, Atom property, Atom type);
  std::string text(Window window, Atom property);

  X11Connection& server;
  Atom activeWindow, processId, applicationId, utf8;
  Window window = 0;
  DesktopEntries entries;

  mutable std::mutex mutex;
  std::optional<Front> front;

  X11Loop loop;  // last: its thread uses all of the above
};

void X11Workspace::Watcher::onEvent(XEvent& event) {
  if (event.type == DestroyNotify && event.xdestroywindow.window == window) {
    describe();
    return;
  }
  if (event.type != PropertyNotify) return;
  if (event.xproperty.window == server.root()) {
    if (event.xproperty.atom == activeWindow) followActiveWindow();
  } else if (event.xproperty.window == window &&
             (event.xproperty.atom == XA_WM_CLASS || event.xproperty.atom == processId ||
              event.xproperty.atom == applicationId)) {
    // Some programs name their window only after it is shown.
    describe();
  }
}

void X11Workspace::Watcher::followActiveWindow() {
  // Described anew even where the number is the same: the server gives it out again once a window is gone.
  Window before = std::exchange(window, number(server.root(), activeWindow, XA_WINDOW).value_or(0));
  if (before && before != window) XSelectInput(server.display(), before, NoEventMask);
  if (window) XSelectInput(server.display(), window, PropertyChangeMask | StructureNotifyMask);
  describe();
}

void X11Workspace::Watcher::describe() {
  server.takeErrors();
  auto found = read();
  // Some window managers go on naming the last window after it is gone.
  if (!server.takeErrors().empty()) found.reset();
  std::lock_guard lock(mutex);
  front = std::move(found);
}

std::optional<X11Workspace::Watcher::Front> X11Workspace::Watcher::read() {
  if (!window) return std::nullopt;
  WindowIdentity identity;
  XClassHint hint{};
  if (XGetClassHint(server.display(), window, &hint)) {
    if (hint.res_class) identity.className = hint.res_class;
    if (hint.res_name) identity.instanceName = hint.res_name;
    XFree(hint.res_class);
    XFree(hint.res_name);
  }
  identity.applicationId = text(window, applicationId);
  auto process = static_cast<int>(number(window, processId, XA_CARDINAL).value_or(0));
  fs::path executable = process > 0 ? executableOf(process) : fs::path();
  identity.program = executable.filename().string();

  auto entry = entries.find(identity);
  const DesktopEntry* known = entry ? &*entry : nullptr;
  std::string identifier = identifierOf(identity, known);
  Front found;
  if (!identifier.empty()) found.application.bundleIdentifier = identifier;
  found.application.localizedName = known && !known->name.empty() ? known->name : identity.className;
  if (!executable.empty()) found.application.bundleUrl = executable.parent_path();
  found.application.processIdentifier = process;
  found.application.rejectsAccessibilityText = hasDeafTextFields(identity, executable.parent_path());
  found.pasteStyle = pasteStyleOf(identity, known);
  return found;
}

std::optional<unsigned long> X11Workspace::Watcher::number(Window of, Atom property, Atom type) {
  Atom actual = 0;
  int format = 0;
  unsigned long count = 0, left = 0;
  unsigned char* data = nullptr;
  if (XGetWindowProperty(server.display(), of, property, 0, 1, False, type, &actual, &format, &count, &left,
                         &data) != Success) {
    return std::nullopt;
  }
  std::optional<unsigned long> value;
  if (actual == type && format == 32 && count == 1) value = *reinterpret_cast<unsigned long*>(data);
  if (data) XFree(data);
  return value;
}

std::string X11Workspace::Watcher::text(Window of, Atom property) {
  Atom actual = 0;
  int format = 0;
  unsigned long count = 0, left = 0;
  unsigned char* data = nullptr;
  if (XGetWindowProperty(server.display(), of, property, 0, longestProperty, False, utf8, &actual, &format,
                         &count, &left, &data) != Success) {
    return {};
  }
  std::string value;
  if (actual == utf8 && format == 8) value.assign(reinterpret_cast<char*>(data), count);
  if (data) XFree(data);
  return value;
}

X11Workspace::Opening X11Workspace::open(const Log& log) {
  auto opening = X11Connection::open();
  if (auto* failure = std::get_if<X11Unavailable>(&opening)) return *failure;
  auto watcher = std::make_unique<Watcher>(std::move(std::get<0>(opening)));
  watcher->loop.start([raw = watcher.get(), &log] {
    log.warn("workspace_lost");
    std::lock_guard lock(raw->mutex);
    raw->front.reset();
  });
  return std::unique_ptr<X11Workspace>(new X11Workspace(std::move(watcher), log));
}

X11Workspace::X11Workspace(std::unique_ptr<Watcher> watcher, const Log& log)
    : watcher_(std::move(watcher)), log_(log) {}

X11Workspace::~X11Workspace() = default;

std::optional<RunningApplication> X11Workspace::frontmostApplication() const {
  std::lock_guard lock(watcher_->mutex);
  if (!watcher_->front) return std::nullopt;
  return watcher_->front->application;
}

bool X11Workspace::isSelfActive() const {
  std::lock_guard lock(watcher_->mutex);
  return watcher_->front && watcher_->front->application.processIdentifier == getpid();
}

PasteStyle X11Workspace::pasteStyle() const {
  std::lock_guard lock(watcher_->mutex);
  return watcher_->front ? watcher_->front->pasteStyle : PasteStyle::controlV;
}

bool X11Workspace::open(const std::string& address) {
  if (auto page = DesktopSettings::pageOf(address)) {
    return DesktopSettings(DesktopSettings::thisSession(), log_).open(*page);
  }
  // A path becomes an address; what is one already stays as it is.
  GFile* file = nullptr;
  std::string uri = address;
  GLibPtr<char> scheme(g_uri_parse_scheme(address.c_str()));
  if (!scheme) {
    file = g_file_new_for_path(address.c_str());
    GLibPtr<char> made(g_file_get_uri(file));
    uri = made.get();
    g_object_unref(file);
  }
  GError* failure = nullptr;
  if (g_app_info_launch_default_for_uri(uri.c_str(), nullptr, &failure)) return true;
  GLibPtr<GError> error(failure);
  log_.warn("open_failed", {{"scheme", scheme ? scheme.get() : "file"}, {"message", error->message}});
  return false;
}

}  // namespace pell
