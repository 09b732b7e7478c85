#include "platform/linux/X11SecureEntry.h"

#include <X11/Xlib.h>
#include <thread>
#include <utility>

#include "async/Time.h"

namespace pell {

namespace {

constexpr Seconds recheckAfter{0.003};

}  // namespace

X11SecureEntry::Opening X11SecureEntry::open() {
  auto opening = X11Connection::open();
  if (auto* failure = std::get_if<X11Unavailable>(&opening)) return *failure;
  return std::unique_ptr<X11SecureEntry>(new X11SecureEntry(std::move(std::get<0>(opening))));
}

X11SecureEntry::X11SecureEntry(std::unique_ptr<X11Connection> connection)
    : connection_(std::move(connection)) {
  XSetWindowAttributes attributes{};
  attributes.override_redirect = True;
  window_ = XCreateWindow(connection_->display(), connection_->root(), -1, -1, 1, 1, 0, 0, InputOnly, nullptr,
                          CWOverrideRedirect, &attributes);
}

X11SecureEntry::~X11SecureEntry() = default;

bool X11SecureEntry::isEnabled() {
  if (!isGrabbed()) return false;
  std::this_thread::sleep_for(recheckAfter);
  return isGrabbed();
}

bool X11SecureEntry::isGrabbed() {
  if (connection_->isLost()) return false;
  int answer =
      XGrabKeyboard(connection_->display(), window_, False, GrabModeAsync, GrabModeAsync, CurrentTime);
  return !connection_->isLost() && (answer == AlreadyGrabbed || answer == GrabFrozen);
}

}  // namespace pell
