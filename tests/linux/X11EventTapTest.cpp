#include <cstdlib>
#include <dirent.h>
#include <set>
#include <sys/socket.h>
#include <sys/un.h>

#include "contracts/EventTapContract.h"
#include "linux/X11Worlds.h"
#include "platform/linux/X11EventTap.h"
#include "platform/linux/X11SecureEntry.h"

namespace pell::testing {
namespace {

std::set<int> connectionsToServer() {
  std::set<int> found;
  DIR* folder = opendir("/proc/self/fd");
  while (const dirent* entry = readdir(folder)) {
    int descriptor = std::atoi(entry->d_name);
    sockaddr_un peer{};
    socklen_t length = sizeof peer;
    if (getpeername(descriptor, reinterpret_cast<sockaddr*>(&peer), &length) != 0) continue;
    std::string path(peer.sun_path, sizeof peer.sun_path);
    if (path.find(".X11-unix") != std::string::npos) found.insert(descriptor);
  }
  closedir(folder);
  return found;
}

int codeOf(PhysicalKey key) {
  static constexpr int codes[] = {xkey::leftAlt, xkey::rightAlt, xkey::rightSuper, xkey::control,
                                  xkey::shift,   xkey::escape,   xkey::space,      xkey::a};
  return codes[static_cast<int>(key)];
}

class X11EventTapWorld : public X11World<EventTapWorld> {
 public:
  X11EventTapWorld() {
    user.openWindow({.instance = "front", .className = "Front"});
    connectionsBefore_ = connectionsToServer();
  }
  ~X11EventTapWorld() override { setenv("DISPLAY", display_.c_str(), 1); }

  EventTapService& taps() override { return taps_; }
  void press(PhysicalKey key) override { user.press(codeOf(key)); }
  void release(PhysicalKey key) override { user.release(codeOf(key)); }
  void click(TapEventType button) override { user.click(button == TapEventType::leftMouseDown ? 1 : 3); }
  int received(PhysicalKey key) override { return user.received(codeOf(key)); }

  bool withdrawGrant() override {
    setenv("DISPLAY", ":9876", 1);
    return true;
  }
  bool disableBySystem() override {
    for (int descriptor : connectionsToServer()) {
      if (!connectionsBefore_.contains(descriptor)) shutdown(descriptor, SHUT_RDWR);
    }
    return true;
  }

 private:
  std::string display_ = getenv("DISPLAY");
  std::set<int> connectionsBefore_;
  X11EventTapService taps_{loop, log};
};

PELL_INSTANTIATE_CONTRACT(X11, EventTapContract, EventTapWorld, X11EventTapWorld);

class X11EventTapTest : public ::testing::Test {
 protected:
  ~X11EventTapTest() override {
    runTool({"setxkbmap", "us", "-option", ""});
    world_.user.lockModifiers(0);
  }

  std::int64_t keysDown() const {
    return std::ranges::count(events_, TapEventType::keyDown, &TapEvent::type);
  }

  std::unique_ptr<EventTap> open(TapMode mode) {
    auto tap = world_.taps().createTap(mode, [this](const TapEvent& event) {
      events_.push_back(event);
      return false;
    });
    world_.settle();
    events_.clear();
    return tap;
  }

  X11EventTapWorld world_;
  XClient& user_ = world_.user;
  std::vector<TapEvent> events_;
};

TEST_F(X11EventTapTest, KeysGoByTheirSymbol) {
  struct Case {
    std::vector<std::string> tool;
    int key, keyCode;
    std::uint64_t flags;
  };
  const std::vector<Case> cases{
      {{"setxkbmap", "us"}, xkey::rightAlt, keycode::rightOption, modifier::option},
      {{"setxkbmap", "de"}, xkey::rightAlt, keycode::other, 0},
      {{"setxkbmap", "ru"}, xkey::leftAlt, keycode::leftOption, modifier::option},
      {{"setxkbmap", "ru"}, xkey::escape, keycode::escape, 0},
      {{"setxkbmap", "us", "-option", "caps:escape"}, xkey::capsLock, keycode::escape, 0},
      {{"setxkbmap", "-option", "altwin:swap_lalt_lwin"}, xkey::leftAlt, keycode::other, modifier::command},
      {{"xmodmap", "-e", "keycode 151 = XF86Fn"}, xkey::fn, keycode::other, modifier::function},
  };
  auto tap = open(TapMode::listenOnly);
  for (const auto& [tool, key, keyCode, flags] : cases) {
    SCOPED_TRACE(::testing::PrintToString(tool) + " " + std::to_string(key));
    runTool({"setxkbmap", "us", "-option", ""});
    runTool(tool);
    world_.settle();
    events_.clear();
    user_.press(key);
    ASSERT_TRUE(world_.waitUntil([&] { return !events_.empty(); }));
    const bool isKey = keyCode == keycode::escape;
    EXPECT_EQ(events_[0].type, isKey ? TapEventType::keyDown : TapEventType::flagsChanged);
    EXPECT_EQ(events_[0].keyCode, keyCode);
    EXPECT_EQ(events_[0].flags, flags);
    user_.release(key);
    world_.settle();
    EXPECT_TRUE(isKey || events_.back().flags == 0u) << events_.back().flags;
  }
}

TEST_F(X11EventTapTest, SwallowsTheChordOncePerPressWhateverIsLocked) {
  auto tap = open(TapMode::active);
  ASSERT_NE(tap, nullptr);
  auto secureEntry = mustOpen<X11SecureEntry>();
  for (unsigned locks :
       {0U, xmodifier::capsLock, xmodifier::numLock, xmodifier::capsLock | xmodifier::numLock}) {
    for (bool shift : {false, true}) {
      SCOPED_TRACE(std::to_string(locks) + (shift ? " with Shift" : ""));
      user_.lockModifiers(locks);
      events_.clear();
      for (int key : {xkey::control, xkey::leftAlt}) user_.press(key);
      if (shift) user_.press(xkey::shift);
      user_.press(xkey::space);
      ASSERT_TRUE(world_.waitUntil([&] { return keysDown() == 1; }));
      EXPECT_EQ(events_.back().keyCode, keycode::space);
      EXPECT_EQ(events_.back().flags & modifier::shift, shift ? modifier::shift : 0);
      EXPECT_FALSE(secureEntry->isEnabled()) << "the tap's own grab is still there when the chord arrives";
      if (locks == 0 && !shift) world_.loop.runFor(Seconds(1.2));  // the keyboard repeats
      for (int key : {xkey::space, xkey::shift, xkey::leftAlt, xkey::control}) user_.release(key);
      world_.settle();
      EXPECT_EQ(keysDown(), 1);
      EXPECT_EQ(user_.received(xkey::space), 0);
    }
  }
  tap.reset();
  user_.press(xkey::control);
  user_.press(xkey::leftAlt);
  user_.tap(xkey::space);
  user_.release(xkey::leftAlt);
  user_.release(xkey::control);
  EXPECT_TRUE(world_.waitUntil([&] { return user_.received(xkey::space) == 1; }))
      << "the grab outlived the tap";
}

TEST_F(X11EventTapTest, TellsTheChordsThatWereOverBeforeItLooked) {
  auto tap = open(TapMode::active);
  ASSERT_NE(tap, nullptr);
  constexpr int taps = 20;
  for (int turn = 0; turn < taps; ++turn) {
    for (int key : {xkey::control, xkey::leftAlt, xkey::space}) user_.press(key);
    for (int key : {xkey::space, xkey::leftAlt, xkey::control}) user_.release(key);
  }
  EXPECT_TRUE(world_.waitUntil([&] { return keysDown() >= taps; })) << keysDown();
  world_.settle();
  EXPECT_EQ(keysDown(), taps);
  EXPECT_EQ(user_.received(xkey::space), 0);
}

TEST_F(X11EventTapTest, SaysWhenAnotherProgramHasTheChord) {
  user_.grabChord(xkey::space, xmodifier::control | xmodifier::alt);
  for (int attempt = 0; attempt < 3; ++attempt) {
    EXPECT_EQ(world_.taps().createTap(TapMode::active, [](const TapEvent&) { return false; }), nullptr);
  }
  ASSERT_EQ(world_.lines.count("event_tap_unavailable"), 1u);
  EXPECT_NE(open(TapMode::listenOnly), nullptr);
}

TEST_F(X11EventTapTest, KnowsKeysThatWereDownBeforeItAndHearsEachReleaseOnce) {
  user_.press(xkey::leftAlt);
  auto tap = open(TapMode::listenOnly);
  user_.press(xkey::shift);
  ASSERT_TRUE(world_.waitUntil([&] { return events_.size() == 1; }));
  EXPECT_EQ(events_[0].flags, modifier::option | modifier::shift);
  for (int key : {xkey::leftAlt, xkey::leftAlt, xkey::shift, xkey::shift}) user_.release(key);
  world_.settle();
  ASSERT_EQ(events_.size(), 3u);
  EXPECT_EQ(events_.back().flags, 0u);
}

}  // namespace
}  // namespace pell::testing
