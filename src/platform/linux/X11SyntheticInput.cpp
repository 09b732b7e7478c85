#include "platform/linux/X11SyntheticInput.h"

#include <X11/XKBlib.h>
#include <X11/Xlib.h>
#include <X11/extensions/XTest.h>
#include <X11/keysym.h>
#include <algorithm>
#include <array>
#include <optional>
#include <thread>
#include <utility>
#include <vector>

#include "platform/EventTap.h"
#include "platform/linux/X11Keymap.h"

namespace pell {

namespace {

// The keys of one paste: those held, the one pressed, and the layout group in which it means what it should.
struct Stroke {
  std::vector<int> held;
  int key = 0;
  int group = 0;
};

}  // namespace

class X11SyntheticInput::Keyboard {
 public:
  explicit Keyboard(std::unique_ptr<X11Connection> connection)
      : connection_(std::move(connection)), keymap_(*connection_) {
    constexpr unsigned changes = XkbMapNotifyMask | XkbNewKeyboardNotifyMask;
    XkbSelectEvents(connection_->display(), XkbUseCoreKbd, changes, changes);
  }

  ~Keyboard() {
    if (boundKey_ != 0 && !connection_->isLost()) bind(boundKey_, NoSymbol);
  }

  bool isLost() const { return connection_->isLost(); }

  std::uint64_t modifierFlags() {
    XkbStateRec state{};
    if (XkbGetState(connection_->display(), XkbUseCoreKbd, &state) != Success) return 0;
    return keymap_.flags(state.base_mods);
  }

  std::optional<Stroke> stroke(PasteStyle style);
  void post(const Stroke& stroke, Seconds hold);

 private:
  void followChanges();
  bool locate(KeySym symbol, Stroke& stroke);
  void bind(int key, KeySym symbol);
  void fake(int key, bool down) {
    XTestFakeKeyEvent(connection_->display(), static_cast<unsigned>(key), down, CurrentTime);
  }
  std::vector<int> foreignModifiersDown(const Stroke& stroke);

  std::unique_ptr<X11Connection> connection_;
  X11Keymap keymap_;
  int boundKey_ = 0;
};

// Fetching the layout takes longer than the rest of a stroke, so it is fetched when it has changed. Changes
// are all that this connection ever hears of.
void X11SyntheticInput::Keyboard::followChanges() {
  Display* display = connection_->display();
  XkbStateRec state{};
  XkbGetState(display, XkbUseCoreKbd, &state);  // its answer comes behind every earlier notice
  bool changed = false;
  for (XEvent event; XEventsQueued(display, QueuedAlready) > 0; changed = true) XNextEvent(display, &event);
  if (changed) keymap_.refresh();
  keymap_.setGroup(state.group);
}

std::optional<Stroke> X11SyntheticInput::Keyboard::stroke(PasteStyle style) {
  if (isLost()) return std::nullopt;
  followChanges();
  Stroke made;
  std::vector<KeySym> modifiers;
  if (style != PasteStyle::shiftInsert) modifiers.push_back(XK_Control_L);
  if (style != PasteStyle::controlV) modifiers.push_back(XK_Shift_L);
  for (KeySym modifier : modifiers) {
    auto key = keymap_.keyFor(modifier, keymap_.group());
    if (!key) return std::nullopt;
    made.held.push_back(*key);
  }
  if (!locate(style == PasteStyle::shiftInsert ? XK_Insert : XK_v, made)) return std::nullopt;
  return made;
}

// In the group in use, else in another one, else on a spare key.
bool X11SyntheticInput::Keyboard::locate(KeySym symbol, Stroke& stroke) {
  std::vector<int> groups{keymap_.group()};
  for (int group = 0; group < keymap_.groupCount(); ++group) groups.push_back(group);
  for (int group : groups) {
    auto key = keymap_.keyFor(symbol, group);
    if (!key) continue;
    stroke.key = *key;
    stroke.group = group;
    return true;
  }
  // The highest spare key is the one by which triggers are masked.
  auto spare = keymap_.spareKeys();
  if (spare.size() < 2) return false;
  boundKey_ = spare[1];
  bind(boundKey_, symbol);
  followChanges();
  stroke.key = boundKey_;
  stroke.group = keymap_.group();
  return true;
}

// Applications fetch the layout again when they come to the notice, so the key stays bound.
void X11SyntheticInput::Keyboard::bind(int key, KeySym symbol) {
  std::array<KeySym, 1> symbols{symbol};
  XChangeKeyboardMapping(connection_->display(), key, 1, symbols.data(), 1);
  XSync(connection_->display(), False);
}

// Modifiers that are down and are not part of the stroke.
std::vector<int> X11SyntheticInput::Keyboard::foreignModifiersDown(const Stroke& stroke) {
  std::array<char, 32> down{};
  XQueryKeymap(connection_->display(), down.data());
  constexpr auto all = modifier::shift | modifier::control | modifier::option | modifier::command;
  std::vector<int> keys;
  for (int key : keymap_.modifierKeys(keymap_.xMask(all))) {
    bool isDown = (static_cast<unsigned char>(down[static_cast<std::size_t>(key / 8)]) >> (key % 8)) & 1;
    bool own = std::find(stroke.held.begin(), stroke.held.end(), key) != stroke.held.end();
    if (isDown && !own) keys.push_back(key);
  }
  return keys;
}

void X11SyntheticInput::Keyboard::post(const Stroke& stroke, Seconds hold) {
  if (isLost()) return;
  Display* display = connection_->display();
  int group = keymap_.group();
  if (stroke.group != group) XkbLockGroup(display, XkbUseCoreKbd, static_cast<unsigned>(stroke.group));
  auto stuck = foreignModifiersDown(stroke);
  for (int key : stroke.held) fake(key, true);
  // Let go after the paste's own are down, so that none is released alone; and not pressed again, as
  // whoever holds one may release it meanwhile and it would stay down for ever.
  for (int key : stuck) fake(key, false);
  fake(stroke.key, true);
  XSync(display, False);
  std::this_thread::sleep_for(hold);
  fake(stroke.key, false);
  for (auto key = stroke.held.rbegin(); key != stroke.held.rend(); ++key) fake(*key, false);
  if (stroke.group != group) XkbLockGroup(display, XkbUseCoreKbd, static_cast<unsigned>(group));
  XSync(display, False);
}

class X11SyntheticInput::Keys final : public PasteKeys {
 public:
  Keys(std::shared_ptr<Keyboard> keyboard, Stroke stroke)
      : keyboard_(std::move(keyboard)), stroke_(std::move(stroke)) {}
  void post(Seconds hold) override { keyboard_->post(stroke_, hold); }

 private:
  std::shared_ptr<Keyboard> keyboard_;
  Stroke stroke_;
};

class X11SyntheticInput::Source final : public EventSource {
 public:
  Source(std::shared_ptr<Keyboard> keyboard, Collaborators collaborators)
      : keyboard_(std::move(keyboard)), collaborators_(std::move(collaborators)) {}

  std::uint64_t modifierFlags() override { return keyboard_->modifierFlags(); }

  // XTEST never holds the user's own input back.
  void permitLocalEvents() override {}

  std::unique_ptr<PasteKeys> makePasteKeys() override {
    PasteStyle style = collaborators_.pasteStyle();
    auto stroke = keyboard_->stroke(style);
    if (!stroke) return nullptr;
    if (style == PasteStyle::shiftInsert) collaborators_.offerPrimary();
    return std::make_unique<Keys>(keyboard_, std::move(*stroke));
  }

 private:
  std::shared_ptr<Keyboard> keyboard_;
  Collaborators collaborators_;
};

X11SyntheticInput::Opening X11SyntheticInput::open(Collaborators collaborators) {
  auto opening = X11Connection::open();
  if (auto* failure = std::get_if<X11Unavailable>(&opening)) return *failure;
  auto& connection = std::get<0>(opening);
  if (auto missing = missingX11Input(*connection); !missing.empty()) return X11Unavailable{missing};
  auto keyboard = std::make_shared<Keyboard>(std::move(connection));
  return std::unique_ptr<X11SyntheticInput>(
      new X11SyntheticInput(std::move(keyboard), std::move(collaborators)));
}

X11SyntheticInput::X11SyntheticInput(std::shared_ptr<Keyboard> keyboard, Collaborators collaborators)
    : keyboard_(std::move(keyboard)), collaborators_(std::move(collaborators)) {}

X11SyntheticInput::~X11SyntheticInput() = default;

std::unique_ptr<EventSource> X11SyntheticInput::makeSource() {
  if (keyboard_->isLost()) return nullptr;
  return std::make_unique<Source>(keyboard_, collaborators_);
}

PasteTarget X11SyntheticInput::pasteTarget() {
  return collaborators_.pasteStyle() == PasteStyle::controlV ? PasteTarget::ordinary : PasteTarget::terminal;
}

}  // namespace pell
