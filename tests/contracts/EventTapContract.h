// What every EventTapService does.
#pragma once

#include <optional>

#include "contracts/World.h"
#include "platform/EventTap.h"

namespace pell::testing {

enum class PhysicalKey { leftOption, rightOption, rightCommand, control, shift, escape, space, letterA };

/// A keyboard, a mouse, and an application in front that takes their input.
class EventTapWorld : public World {
 public:
  virtual EventTapService& taps() = 0;

  virtual void press(PhysicalKey key) = 0;
  virtual void release(PhysicalKey key) = 0;
  void tap(PhysicalKey key) { (press(key), release(key)); }
  virtual void click(TapEventType button) = 0;  // leftMouseDown or rightMouseDown, and up again

  /// How often the application in front has received the press of a key.
  virtual int received(PhysicalKey key) = 0;

  /// Without it nothing may be listened to. False if this world cannot take it away.
  virtual bool withdrawGrant() = 0;

  /// The system switches the tap off (here: what carries its events is lost). False if it cannot be done.
  virtual bool disableBySystem() = 0;
};

class EventTapContract : public Contract<EventTapWorld> {
 protected:
  /// An enabled tap whose events come into `events_`.
  std::unique_ptr<EventTap> open(
      TapMode mode, std::function<bool(const TapEvent&)> swallows = [](auto&) { return false; }) {
    auto tap = world().taps().createTap(mode, [this, swallows](const TapEvent& event) {
      events_.put(event);
      return swallows(event);
    });
    EXPECT_NE(tap, nullptr);
    if (tap) tap->setEnabled(true);
    world().settle();
    return tap;
  }

  /// Waits for the event that follows those seen before.
  std::optional<TapEvent> next() {
    if (!world().waitUntil([&] { return events_.size() > seen_; }, Seconds(3))) return std::nullopt;
    return events_.all()[seen_++];
  }

  void expectNext(TapEventType type, int keyCode, std::optional<std::uint64_t> flags = std::nullopt) {
    auto event = next();
    ASSERT_TRUE(event.has_value());
    EXPECT_EQ(event->type, type);
    EXPECT_EQ(event->keyCode, keyCode);
    if (flags) {
      EXPECT_EQ(event->flags & allModifiers, *flags);
    }
  }

  void expectNothingMore() {
    world().settle();
    EXPECT_EQ(events_.size(), seen_);
  }

  static constexpr std::uint64_t allModifiers =
      modifier::shift | modifier::control | modifier::option | modifier::command | modifier::function;
  Inbox<TapEvent> events_;
  std::size_t seen_ = 0;
};

TEST_P(EventTapContract, ReportsEachModifierWithTheFlagsAfterIt) {
  auto tap = open(TapMode::listenOnly);
  struct Case {
    PhysicalKey key;
    int keyCode;
    std::uint64_t flag;
  };
  for (const auto& [key, keyCode, flag] :
       {Case{PhysicalKey::leftOption, keycode::leftOption, modifier::option},
        Case{PhysicalKey::rightOption, keycode::rightOption, modifier::option},
        Case{PhysicalKey::rightCommand, keycode::rightCommand, modifier::command}}) {
    world().press(key);
    expectNext(TapEventType::flagsChanged, keyCode, flag);
    world().release(key);
    expectNext(TapEventType::flagsChanged, keyCode, 0);
  }
  // The flag stays while either Option key is down.
  world().press(PhysicalKey::leftOption);
  expectNext(TapEventType::flagsChanged, keycode::leftOption, modifier::option);
  world().press(PhysicalKey::rightOption);
  expectNext(TapEventType::flagsChanged, keycode::rightOption, modifier::option);
  world().release(PhysicalKey::leftOption);
  expectNext(TapEventType::flagsChanged, keycode::leftOption, modifier::option);
  world().release(PhysicalKey::rightOption);
  expectNext(TapEventType::flagsChanged, keycode::rightOption, 0);
  expectNothingMore();
}

TEST_P(EventTapContract, ReportsPressesOfKeysAndButtonsAndNoReleases) {
  auto tap = open(TapMode::listenOnly);
  for (const auto& [key, keyCode] : {std::pair{PhysicalKey::escape, keycode::escape},
                                     {PhysicalKey::space, keycode::space},
                                     {PhysicalKey::letterA, keycode::other}}) {
    world().tap(key);
    expectNext(TapEventType::keyDown, keyCode);
    expectNothingMore();
  }
  for (auto button : {TapEventType::leftMouseDown, TapEventType::rightMouseDown}) {
    world().click(button);
    auto event = next();
    ASSERT_TRUE(event.has_value());
    EXPECT_EQ(event->type, button);
    expectNothingMore();
  }
}

TEST_P(EventTapContract, ListeningTakesNothingFromTheApplication) {
  auto tap = open(TapMode::listenOnly, [](auto&) { return true; });
  world().tap(PhysicalKey::letterA);
  EXPECT_TRUE(world().waitUntil([&] { return world().received(PhysicalKey::letterA) == 1; }));
}

TEST_P(EventTapContract, AnActiveTapSwallowsTheChordAndNothingElse) {
  auto tap = open(TapMode::active, [](const TapEvent& event) {
    return event.type == TapEventType::keyDown && event.keyCode == keycode::space;
  });
  world().tap(PhysicalKey::letterA);
  EXPECT_TRUE(world().waitUntil([&] { return world().received(PhysicalKey::letterA) == 1; }));

  world().press(PhysicalKey::control);
  world().press(PhysicalKey::leftOption);
  world().tap(PhysicalKey::space);
  world().release(PhysicalKey::leftOption);
  world().release(PhysicalKey::control);
  auto chords = [&] {
    return std::ranges::count_if(events_.all(), [](const TapEvent& event) {
      return event.type == TapEventType::keyDown && event.keyCode == keycode::space &&
             (event.flags & (modifier::control | modifier::option | modifier::command)) ==
                 (modifier::control | modifier::option);
    });
  };
  EXPECT_TRUE(world().waitUntil([&] { return chords() == 1; }));
  world().settle();
  EXPECT_EQ(chords(), 1);
  EXPECT_EQ(world().received(PhysicalKey::space), 0);
}

TEST_P(EventTapContract, FallsSilentWhileDisabledAndOnceDestroyed) {
  auto tap = open(TapMode::listenOnly);
  tap->setEnabled(false);
  world().tap(PhysicalKey::leftOption);
  expectNothingMore();
  tap->setEnabled(true);
  world().settle();
  world().tap(PhysicalKey::escape);
  expectNext(TapEventType::keyDown, keycode::escape);
  tap.reset();
  world().tap(PhysicalKey::escape);
  expectNothingMore();
}

TEST_P(EventTapContract, MayBeDestroyedByItsOwnCallback) {
  std::unique_ptr<EventTap> tap;
  int calls = 0;
  tap = world().taps().createTap(TapMode::listenOnly, [&](const TapEvent&) {
    ++calls;
    tap.reset();
    return false;
  });
  ASSERT_NE(tap, nullptr);
  tap->setEnabled(true);
  world().settle();
  for (int press = 0; press < 2; ++press) world().tap(PhysicalKey::letterA);
  EXPECT_TRUE(world().waitUntil([&] { return calls == 1; }));
  world().settle();
  EXPECT_EQ(calls, 1);
}

TEST_P(EventTapContract, DoesNotReportItsOwnMask) {
  auto tap = open(TapMode::listenOnly);
  world().press(PhysicalKey::leftOption);
  expectNext(TapEventType::flagsChanged, keycode::leftOption, modifier::option);
  tap->maskModifierRelease();
  expectNothingMore();
  world().release(PhysicalKey::leftOption);
  expectNext(TapEventType::flagsChanged, keycode::leftOption, 0);
  expectNothingMore();
}

TEST_P(EventTapContract, CannotBeMadeWithoutTheGrant) {
  if (!world().withdrawGrant()) return;
  EXPECT_EQ(world().taps().createTap(TapMode::listenOnly, [](const TapEvent&) { return false; }), nullptr);
  EXPECT_EQ(world().taps().createTap(TapMode::active, [](const TapEvent&) { return false; }), nullptr);
}

TEST_P(EventTapContract, TellsThatTheSystemDisabledItAndRunsAgainWhenEnabled) {
  auto tap = open(TapMode::listenOnly);
  if (!world().disableBySystem()) return;
  auto event = next();
  ASSERT_TRUE(event.has_value());
  EXPECT_TRUE(event->type == TapEventType::tapDisabledByTimeout ||
              event->type == TapEventType::tapDisabledByUserInput);
  world().tap(PhysicalKey::escape);
  expectNothingMore();
  tap->setEnabled(true);
  world().settle();
  world().tap(PhysicalKey::escape);
  expectNext(TapEventType::keyDown, keycode::escape);
}

}  // namespace pell::testing
