#include "platform/linux/X11EventTap.h"

#include <X11/XKBlib.h>
#include <X11/Xlib.h>
#include <X11/extensions/XInput2.h>
#include <X11/extensions/XTest.h>
#include <X11/keysym.h>
#include <algorithm>
#include <array>
#include <atomic>
#include <cstdint>
#include <utility>
#include <vector>

#include "async/Executor.h"
#include "platform/linux/X11KeyTracker.h"
#include "platform/linux/X11Loop.h"
#include "stores/Log.h"

namespace pell {

namespace {

constexpr std::uint64_t chordFlags = modifier::control | modifier::option;
constexpr std::uint64_t chordMask = chordFlags | modifier::command;

// Space is typed all the time, and its presses wait for a grab that does not come. The chords that came while
// the thread had to wait for a busy machine are told later and must all have room.
constexpr std::size_t mostPresses = 64;

// What the tap's thread and the main thread share. Only the main thread touches `callback`.
struct Delivery {
  EventTapService::Callback callback;
  bool alive = true;
  bool enabled = true;
};

// The half of a tap that lives on its thread, for as long as its connections last.
class TapThread {
 public:
  TapThread(TapMode mode, std::function<void(TapEvent)> deliver)
      : mode_(mode), deliver_(std::move(deliver)), loop_("pell-keys") {}

  // Empty on success.
  std::string start(std::function<void()> lost) {
    auto listening = X11Connection::open();
    auto grabbing = X11Connection::open();
    for (auto* opening : {&listening, &grabbing}) {
      if (auto* failure = std::get_if<X11Unavailable>(opening)) return failure->reason;
    }
    auto& listener = std::get<0>(listening);
    auto& grabber = std::get<0>(grabbing);
    if (auto missing = missingX11Input(*listener); !missing.empty()) return missing;
    listener_ = listener.get();
    grabber_ = grabber.get();
    select();
    keymap_.emplace(*listener_);
    tracker_.emplace(*keymap_);
    chooseMask();
    resynchronise(false);
    if (!grabChord()) return "another program has the chord Ctrl+Alt+Space";
    loop_.watch(std::move(listener), [this](XEvent& event) { onListenerEvent(event); });
    loop_.watch(std::move(grabber), [this](XEvent& event) { onGrabberEvent(event); });
    loop_.start(std::move(lost));
    return {};
  }

  void maskModifierRelease() {
    loop_.post([this] {
      if (tracker_->shouldMaskRelease()) tapMask();
    });
  }

  void setGrabbing(bool grabbing) {
    loop_.post([this, grabbing] { grabbing ? void(grabChord()) : releaseChord(); });
  }

 private:
  void select();
  void chooseMask();
  void tapMask();
  bool grabChord();
  void releaseChord();
  void resynchronise(bool report);
  void onListenerEvent(XEvent& event);
  void onRawEvent(const XIRawEvent& event);
  void onKeyboardEvent(const XkbEvent& event);
  void onGrabberEvent(XEvent& event);
  void onMapChanged();

  TapMode mode_;
  std::function<void(TapEvent)> deliver_;
  X11Connection* listener_ = nullptr;
  X11Connection* grabber_ = nullptr;
  std::optional<X11Keymap> keymap_;
  std::optional<X11KeyTracker> tracker_;
  int xInput_ = 0, xkb_ = 0;
  unsigned long activeWindow_ = 0;
  int mask_ = 0;
  bool maskIsSpare_ = true;
  int maskEventsDue_ = 0;  // of a mask key that the user may press too
  int chordKey_ = 0;       // 0 while nothing is grabbed
  struct SpacePress {
    unsigned long time;  // the server's, in milliseconds
    bool isChord;        // as far as the modifiers are known
  };
  std::vector<SpacePress> chordPresses_;  // of the chord's key, those not told yet
  X11Loop loop_;                          // last: its thread uses all of the above
};

void TapThread::select() {
  Display* display = listener_->display();
  int event = 0, error = 0;
  XQueryExtension(display, "XInputExtension", &xInput_, &event, &error);
  std::array<unsigned char, XIMaskLen(XI_LASTEVENT)> raw{}, hierarchy{};
  for (int type : {XI_RawKeyPress, XI_RawKeyRelease, XI_RawButtonPress}) XISetMask(raw.data(), type);
  XISetMask(hierarchy.data(), XI_HierarchyChanged);
  std::array<XIEventMask, 2> masks{
      {{.deviceid = XIAllMasterDevices, .mask_len = raw.size(), .mask = raw.data()},
       {.deviceid = XIAllDevices, .mask_len = hierarchy.size(), .mask = hierarchy.data()}}};
  XISelectEvents(display, listener_->root(), masks.data(), masks.size());

  int opcode = 0, major = XkbMajorVersion, minor = XkbMinorVersion;
  XkbQueryExtension(display, &opcode, &xkb_, &error, &major, &minor);
  XkbSelectEvents(display, XkbUseCoreKbd, XkbNewKeyboardNotifyMask | XkbMapNotifyMask,
                  XkbNewKeyboardNotifyMask | XkbMapNotifyMask);
  XkbSelectEventDetails(display, XkbUseCoreKbd, XkbStateNotify, XkbGroupStateMask, XkbGroupStateMask);
  activeWindow_ = listener_->atom("_NET_ACTIVE_WINDOW");
  XSelectInput(display, listener_->root(), PropertyChangeMask);
}

// A key that no layout uses means nothing to any application. Control does nothing alone either.
void TapThread::chooseMask() {
  auto spare = keymap_->spareKeys();
  maskIsSpare_ = !spare.empty();
  mask_ = maskIsSpare_ ? spare.front() : keymap_->keyFor(XK_Control_L, keymap_->group()).value_or(0);
  maskEventsDue_ = 0;
}

void TapThread::tapMask() {
  if (mask_ == 0) return;
  if (!maskIsSpare_) maskEventsDue_ += 2;
  auto key = static_cast<unsigned>(mask_);
  XTestFakeKeyEvent(listener_->display(), key, True, CurrentTime);
  XTestFakeKeyEvent(listener_->display(), key, False, CurrentTime);
  XFlush(listener_->display());
}

// For every state of Shift and of the two locks, as a grab is for one exact set of modifiers.
bool TapThread::grabChord() {
  if (mode_ != TapMode::active || chordKey_ != 0) return true;
  int key = keymap_->keyFor(XK_space, keymap_->group()).value_or(0);
  if (key == 0) return false;
  unsigned chord = keymap_->xMask(chordFlags);
  const std::array<unsigned, 3> ignored{ShiftMask, LockMask, keymap_->numLockMask()};
  grabber_->takeErrors();
  for (unsigned choice = 0; choice < 8; ++choice) {
    unsigned modifiers = chord;
    for (unsigned bit = 0; bit < 3; ++bit) {
      if (choice & (1U << bit)) modifiers |= ignored[bit];
    }
    XGrabKey(grabber_->display(), key, modifiers, grabber_->root(), False, GrabModeAsync, GrabModeAsync);
  }
  chordKey_ = key;
  if (grabber_->takeErrors().empty()) return true;
  releaseChord();
  return false;
}

void TapThread::releaseChord() {
  if (chordKey_ == 0) return;
  XUngrabKey(grabber_->display(), chordKey_, AnyModifier, grabber_->root());
  XFlush(grabber_->display());
  chordKey_ = 0;
}

void TapThread::resynchronise(bool report) {
  std::array<char, 32> down{};
  XQueryKeymap(listener_->display(), down.data());
  tracker_->resynchronise(
      [&](int key) {
        return key != mask_ &&
               (static_cast<unsigned char>(down[static_cast<std::size_t>(key / 8)]) >> (key % 8)) & 1;
      },
      [&](TapEvent event) {
        if (report) deliver_(event);
      });
}

void TapThread::onListenerEvent(XEvent& event) {
  if (event.type == GenericEvent && event.xcookie.extension == xInput_) {
    if (!XGetEventData(listener_->display(), &event.xcookie)) return;
    if (event.xcookie.evtype == XI_HierarchyChanged) {
      // A keyboard that goes away releases its keys without telling.
      resynchronise(true);
    } else {
      onRawEvent(*static_cast<const XIRawEvent*>(event.xcookie.data));
    }
    XFreeEventData(listener_->display(), &event.xcookie);
  } else if (event.type == xkb_) {
    onKeyboardEvent(reinterpret_cast<const XkbEvent&>(event));
  } else if (event.type == MappingNotify) {
    onMapChanged();
  } else if (event.type == PropertyNotify && event.xproperty.atom == activeWindow_) {
    tracker_->otherInput();
  }
}

void TapThread::onRawEvent(const XIRawEvent& event) {
  if (event.evtype == XI_RawButtonPress) {
    tracker_->otherInput();
    if (event.detail == Button1) deliver_({.type = TapEventType::leftMouseDown, .flags = tracker_->flags()});
    if (event.detail == Button3) deliver_({.type = TapEventType::rightMouseDown, .flags = tracker_->flags()});
    return;
  }
  if (event.detail < X11Keymap::firstKey || event.detail > X11Keymap::lastKey) return;
  if (event.detail == mask_ && (maskIsSpare_ || maskEventsDue_ > 0)) {
    if (!maskIsSpare_) --maskEventsDue_;
    return;
  }
  if (event.evtype == XI_RawKeyRelease) {
    if (auto change = tracker_->release(event.detail)) deliver_(*change);
    return;
  }
  if (event.detail == chordKey_) {
    if (chordPresses_.size() == mostPresses) chordPresses_.erase(chordPresses_.begin());
    chordPresses_.push_back({event.time, (tracker_->flags() & chordMask) == chordFlags});
  }
  auto change = tracker_->press(event.detail);
  // The chord's own space comes from the grab, which alone says that it was swallowed.
  bool swallowed = event.detail == chordKey_ && (tracker_->flags() & chordMask) == chordFlags;
  if (change && !swallowed) deliver_(*change);
}

void TapThread::onKeyboardEvent(const XkbEvent& event) {
  if (event.any.xkb_type == XkbStateNotify) {
    keymap_->setGroup(event.state.group);
  } else {
    onMapChanged();
  }
}

void TapThread::onMapChanged() {
  keymap_->refresh();
  chooseMask();
  if (chordKey_ == 0 || keymap_->keyFor(XK_space, keymap_->group()) == chordKey_) return;
  releaseChord();
  if (!grabChord()) deliver_({.type = TapEventType::tapDisabledByUserInput});
}

void TapThread::onGrabberEvent(XEvent& event) {
  if (event.type != KeyPress) return;
  // Let go before anybody is told: what looks for another program's grab would find this one.
  XUngrabKeyboard(grabber_->display(), CurrentTime);
  XSync(grabber_->display(), False);
  // The held chord repeats, and the grab tells each repetition as a press. The listener hears of real presses
  // alone, at the same instant; a tap may be over by now, so the key being up again says nothing.
  XSync(listener_->display(), False);
  while (XPending(listener_->display()) > 0) {
    XEvent earlier;
    XNextEvent(listener_->display(), &earlier);
    onListenerEvent(earlier);
  }
  // The server counts in milliseconds: several presses of one instant are told with the first grab event.
  std::ptrdiff_t chords = 0;
  auto told = std::erase_if(chordPresses_, [&](const SpacePress& press) {
    const bool isDue = static_cast<std::int32_t>(event.xkey.time - press.time) >= 0;  // the clock runs over
    chords += isDue && press.isChord;
    return isDue;
  });
  if (told == 0) return;
  for (auto left = std::max<std::ptrdiff_t>(chords, 1); left > 0; --left) {
    deliver_({.type = TapEventType::keyDown,
              .keyCode = keycode::space,
              .flags = tracker_->flags() | keymap_->flags(event.xkey.state)});
  }
}

class X11EventTap final : public EventTap {
 public:
  X11EventTap(Executor& main, const Log& log, TapMode mode)
      : main_(main), log_(log), mode_(mode), delivery_(std::make_shared<Delivery>()) {}

  ~X11EventTap() override { delivery_->alive = false; }

  std::string start(EventTapService::Callback callback) {
    delivery_->callback = std::move(callback);
    return connect();
  }

  void setEnabled(bool enabled) override {
    if (enabled && lost_->load()) {
      if (auto reason = connect(); !reason.empty()) {
        log_.warn("event_tap_unavailable", {{"reason", reason}});
        report({.type = TapEventType::tapDisabledByUserInput});
      }
    } else if (thread_ && enabled != delivery_->enabled) {
      thread_->setGrabbing(enabled);
    }
    delivery_->enabled = enabled;
  }

  void maskModifierRelease() override {
    if (thread_) thread_->maskModifierRelease();
  }

 private:
  std::string connect() {
    thread_.reset();
    lost_ = std::make_shared<std::atomic<bool>>(false);
    thread_ = std::make_unique<TapThread>(mode_, reporter());
    auto reason = thread_->start([lost = lost_, report = reporter()] {
      *lost = true;
      report({.type = TapEventType::tapDisabledByUserInput});
    });
    if (!reason.empty()) {
      *lost_ = true;
      thread_.reset();
    }
    return reason;
  }

  void report(TapEvent event) const { reporter()(event); }

  std::function<void(TapEvent)> reporter() const {
    return [&main = main_, delivery = delivery_](TapEvent event) {
      main.post([delivery, event] {
        if (delivery->alive && delivery->enabled) delivery->callback(event);
      });
    };
  }

  Executor& main_;
  const Log& log_;
  TapMode mode_;
  std::shared_ptr<Delivery> delivery_;
  std::shared_ptr<std::atomic<bool>> lost_ = std::make_shared<std::atomic<bool>>(false);
  std::unique_ptr<TapThread> thread_;  // last: it reports until it has ended
};

}  // namespace

X11EventTapService::X11EventTapService(Executor& main, const Log& log) : main_(main), log_(log) {}

std::unique_ptr<EventTap> X11EventTapService::createTap(TapMode mode, Callback callback) {
  auto tap = std::make_unique<X11EventTap>(main_, log_, mode);
  auto reason = tap->start(std::move(callback));
  // Whoever wants a tap tries again and again; the log hears of news only.
  if (reason != reason_ && !reason.empty()) log_.warn("event_tap_unavailable", {{"reason", reason}});
  reason_ = std::move(reason);
  if (!reason_.empty()) return nullptr;
  return tap;
}

std::string whyX11InputIsUnavailable() {
  auto opening = X11Connection::open();
  if (auto* failure = std::get_if<X11Unavailable>(&opening)) return failure->reason;
  return missingX11Input(*std::get<0>(opening));
}

}  // namespace pell
