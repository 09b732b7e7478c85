#include "linux/XClient.h"

#include <X11/XKBlib.h>
#include <X11/Xatom.h>
#include <X11/Xlib.h>
#include <X11/Xutil.h>
#include <X11/extensions/XTest.h>
#include <algorithm>
#include <chrono>
#include <thread>

#include "linux/AppProcess.h"
#include "linux/DesktopHelpers.h"

namespace pell::testing {

void runTool(const std::vector<std::string>& arguments) { outputOf(arguments); }

XClient::XClient() : connection_(openDisplay()) {
  XkbSetDetectableAutoRepeat(connection_->display(), True, nullptr);
}

unsigned long XClient::openWindow(const Appearance& appearance) {
  Display* display = connection_->display();
  Window window = XCreateSimpleWindow(display, connection_->root(), 0, 0, 200, 100, 0, 0, 0);
  std::string instance = appearance.instance, className = appearance.className;
  XClassHint hint{.res_name = instance.data(), .res_class = className.data()};
  XSetClassHint(display, window, &hint);
  XStoreName(display, window, appearance.title.c_str());
  auto text = [&](const char* property, const std::string& value) {
    if (value.empty()) return;
    XChangeProperty(display, window, connection_->atom(property), connection_->atom("UTF8_STRING"), 8,
                    PropModeReplace, reinterpret_cast<const unsigned char*>(value.data()),
                    static_cast<int>(value.size()));
  };
  text("_GTK_APPLICATION_ID", appearance.applicationId);
  long process = appearance.process;
  XChangeProperty(display, window, connection_->atom("_NET_WM_PID"), XA_CARDINAL, 32, PropModeReplace,
                  reinterpret_cast<const unsigned char*>(&process), 1);
  XWMHints hints{};
  hints.flags = InputHint;
  hints.input = True;
  XSetWMHints(display, window, &hints);
  XSelectInput(display, window, KeyPressMask | KeyReleaseMask | ButtonPressMask);
  XMapRaised(display, window);
  XFlush(display);
  for (int tries = 0; tries < 400 && !isActive(window); ++tries) {
    if (tries % 20 == 10) activate(window);
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  return window;
}

void XClient::activate(unsigned long window) {
  XEvent event{};
  event.xclient.type = ClientMessage;
  event.xclient.window = window;
  event.xclient.message_type = connection_->atom("_NET_ACTIVE_WINDOW");
  event.xclient.format = 32;
  event.xclient.data.l[0] = 2;  // from a pager, which window managers obey
  XSendEvent(connection_->display(), connection_->root(), False,
             SubstructureRedirectMask | SubstructureNotifyMask, &event);
  XFlush(connection_->display());
}

void XClient::close(unsigned long window) {
  XDestroyWindow(connection_->display(), window);
  XSync(connection_->display(), False);
}

bool XClient::isActive(unsigned long window) {
  Window focus = 0;
  int revert = 0;
  XGetInputFocus(connection_->display(), &focus, &revert);
  return focus == window && activeWindow(*connection_) == window;
}

void XClient::press(int key) {
  XTestFakeKeyEvent(connection_->display(), static_cast<unsigned>(key), True, CurrentTime);
  XSync(connection_->display(), False);
}

void XClient::release(int key) {
  XTestFakeKeyEvent(connection_->display(), static_cast<unsigned>(key), False, CurrentTime);
  XSync(connection_->display(), False);
}

void XClient::tap(int key) {
  press(key);
  release(key);
}

void XClient::click(unsigned button) {
  XTestFakeButtonEvent(connection_->display(), button, True, CurrentTime);
  XTestFakeButtonEvent(connection_->display(), button, False, CurrentTime);
  XSync(connection_->display(), False);
}

int XClient::received(int key) {
  XSync(connection_->display(), False);
  while (XPending(connection_->display()) > 0) {
    XEvent event;
    XNextEvent(connection_->display(), &event);
    if (event.type == KeyPress) received_.push_back(static_cast<int>(event.xkey.keycode));
  }
  return static_cast<int>(std::count(received_.begin(), received_.end(), key));
}

bool XClient::grabKeyboard() {
  return XGrabKeyboard(connection_->display(), connection_->root(), False, GrabModeAsync, GrabModeAsync,
                       CurrentTime) == GrabSuccess;
}

void XClient::ungrabKeyboard() {
  XUngrabKeyboard(connection_->display(), CurrentTime);
  XSync(connection_->display(), False);
}

void XClient::grabChord(int key, unsigned modifiers) {
  XGrabKey(connection_->display(), key, modifiers, connection_->root(), False, GrabModeAsync, GrabModeAsync);
  XSync(connection_->display(), False);
}

void XClient::lockModifiers(unsigned modifiers) {
  XkbLockModifiers(connection_->display(), XkbUseCoreKbd, 0xFF, modifiers);
  XSync(connection_->display(), False);
}

void XClient::lockGroup(int group) {
  XkbLockGroup(connection_->display(), XkbUseCoreKbd, static_cast<unsigned>(group));
  XSync(connection_->display(), False);
}

int XClient::group() {
  XkbStateRec state{};
  XkbGetState(connection_->display(), XkbUseCoreKbd, &state);
  return state.group;
}

}  // namespace pell::testing
