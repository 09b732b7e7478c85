#include "bench/support/BarePaste.h"

#include <X11/XKBlib.h>
#include <X11/Xatom.h>
#include <X11/Xlib.h>
#include <X11/extensions/XTest.h>
#include <X11/keysym.h>
#include <array>
#include <memory>
#include <utility>

namespace pell::bench {

namespace {

constexpr Seconds limit{2};

}  // namespace

BarePaste::BarePaste() {
  auto opening = X11Connection::open();
  auto opened = std::move(std::get<std::unique_ptr<X11Connection>>(opening));
  connection_ = opened.get();
  window_ = XCreateSimpleWindow(connection_->display(), connection_->root(), -1, -1, 1, 1, 0, 0, 0);
  clipboard_ = connection_->atom("CLIPBOARD");
  targets_ = connection_->atom("TARGETS");
  utf8_ = connection_->atom("UTF8_STRING");
  plain_ = connection_->atom("text/plain;charset=utf-8");
  loop_.watch(std::move(opened), [this](XEvent& event) { onEvent(event); });
  loop_.start([] {});
}

BarePaste::~BarePaste() { loop_.stop(); }

void BarePaste::copy(std::string text) {
  loop_.call([this, text = std::move(text)]() mutable { own(std::move(text)); }, limit);
}

void BarePaste::paste(std::string text) {
  loop_.call(
      [this, text = std::move(text)]() mutable {
        own(std::move(text));
        press();
      },
      limit);
}

void BarePaste::own(std::string text) {
  text_ = std::move(text);
  XSetSelectionOwner(connection_->display(), clipboard_, window_, CurrentTime);
  XSync(connection_->display(), False);
}

void BarePaste::press() {
  Display* display = connection_->display();
  const auto control = XKeysymToKeycode(display, XK_Control_L);
  const auto v = XKeysymToKeycode(display, XK_v);
  for (const auto& [key, down] :
       {std::pair(control, True), std::pair(v, True), std::pair(v, False), std::pair(control, False)}) {
    XTestFakeKeyEvent(display, key, down, CurrentTime);
  }
  XFlush(display);
}

void BarePaste::onEvent(XEvent& event) {
  if (event.type != SelectionRequest) return;
  const auto& asked = event.xselectionrequest;
  XEvent reply{};
  reply.xselection.type = SelectionNotify;
  reply.xselection.requestor = asked.requestor;
  reply.xselection.selection = asked.selection;
  reply.xselection.target = asked.target;
  reply.xselection.time = asked.time;
  if (asked.target == targets_) {
    const std::array<unsigned long, 4> offered{targets_, utf8_, plain_, XA_STRING};
    XChangeProperty(connection_->display(), asked.requestor, asked.property, XA_ATOM, 32, PropModeReplace,
                    reinterpret_cast<const unsigned char*>(offered.data()), offered.size());
    reply.xselection.property = asked.property;
  } else if (asked.target == utf8_ || asked.target == plain_ || asked.target == XA_STRING) {
    XChangeProperty(connection_->display(), asked.requestor, asked.property, asked.target, 8, PropModeReplace,
                    reinterpret_cast<const unsigned char*>(text_.data()), static_cast<int>(text_.size()));
    reply.xselection.property = asked.property;
  }
  XSendEvent(connection_->display(), asked.requestor, False, NoEventMask, &reply);
  XFlush(connection_->display());
}

}  // namespace pell::bench
