#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "pipeline/DictationRoad.h"
#include "platform/EventTap.h"

namespace pell::testing {
namespace {

namespace fs = std::filesystem;
using Mode = TextInjector::Mode;

const std::string said = "Grüße an 👩‍👩‍👧";
constexpr std::string_view users = "what the user had copied";

/// An editor in front, and something of the user's on the clipboard.
struct Desk : DictationRoad {
  Desk() { platform.pasteboard.otherPutsText(std::string(users)); }

  std::string clipboard() const {
    return platform.pasteboard.otherReads(pasteboardTypeString).value_or("(none)");
  }
  std::string deliver(Mode mode, const std::string& text = said) {
    return describe(injector.deliver(text, mode));
  }
  Instant now() { return platform.time.main().now(); }
  std::string logged(std::string_view event, const char* name) const {
    auto lines = platform.log.lines(event);
    if (lines.empty()) return "(not logged)";
    auto& value = lines.back().at(name);
    return value.is_string() ? value.get<std::string>() : value.dump();
  }
};

std::string failedWith(std::string_view message) { return "failed(\"" + std::string(message) + "\")"; }

const std::string couldNotPaste =
    failedWith("Pell could not paste into that app. The text is on your clipboard. Press ⌘V.");
const std::string couldNotType =
    failedWith("Pell could not type into that app. The text is on your clipboard. Press ⌘V.");
const std::string noAccess =
    failedWith("Pell needs Accessibility access to type for you. The text is on your clipboard. Press ⌘V.");
const std::string refused = failedWith(SecureInput::refusal);

TEST(TextInjectorTest, EveryRoadEndsAsItShould) {
  using Error = AccessibilityError;
  struct Case {
    const char* name;
    std::function<void(Desk&)> arrange;
    Mode mode;
    std::string outcome;
    bool landed = false;                 // the text stands in the field a moment later
    double onClipboardFor = 0;           // seconds until the user's content is back; 0: it never left
    std::string stage = "(not logged)";  // of the attempt through accessibility
  };
  auto nothing = [](Desk&) {};
  auto secureField = [](Desk& desk) {
    desk.field.attributes.insert_or_assign("AXSubrole", std::string("AXSecureTextField"));
  };
  auto secureEntry = [](Desk& desk) { desk.platform.secureEntry.enabled = true; };
  auto untrusted = [](Desk& desk) { desk.platform.desktop.trusted = false; };
  auto noSource = [](Desk& desk) { desk.platform.input.sourceAvailable = false; };
  auto noKeys = [](Desk& desk) { desk.platform.input.keysAvailable = false; };
  auto readOnly = [](Desk& desk) { desk.field.selectedTextSettable = false; };
  auto neither = [&](Desk& desk) { (readOnly(desk), noKeys(desk)); };
  auto asking = [](Desk& desk) { desk.field.settableError = Error::attributeUnsupported; };
  auto setting = [](Desk& desk) { desk.field.setError = Error::failure; };
  auto silent = [](Desk& desk) { desk.platform.accessibility.systemLatency = Seconds(2); };
  auto lying = [](Desk& desk) { desk.editor.info.rejectsAccessibilityText = true; };
  const Case cases[] = {
      {"secure field, typing", secureField, Mode::automatic, refused},
      {"secure field, pasting", secureField, Mode::paste, refused},
      {"secure entry", secureEntry, Mode::automatic, refused},
      {"no grant, typing", untrusted, Mode::automatic, noAccess, false, 90},
      {"no grant, pasting", untrusted, Mode::paste, noAccess, false, 90},
      {"an ordinary field", nothing, Mode::automatic, "inserted", true, 0, "inserted"},
      {"pasting by choice", nothing, Mode::paste, "pasted", true, 1.5},
      {"pasting without a source", noSource, Mode::paste, couldNotPaste, false, 90},
      {"pasting without keys", noKeys, Mode::paste, couldNotPaste, false, 90},
      {"a field that cannot be set", readOnly, Mode::automatic, "pasted", true, 1.5, "not_settable(0)"},
      {"nor pasted into", neither, Mode::automatic, couldNotType, false, 90, "not_settable(0)"},
      {"asking fails", asking, Mode::automatic, "pasted", true, 1.5, "not_settable(-25205)"},
      {"setting fails", setting, Mode::automatic, "pasted", true, 1.5, "set_failed(-25200)"},
      {"no answer", silent, Mode::automatic, "pasted", true, 1.5, "focused_element_failed(-25204)"},
      {"insertions that lie", lying, Mode::automatic, "pasted", true, 1.5, "not_settable(0)"},
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(row.name);
    Desk desk;
    row.arrange(desk);
    EXPECT_EQ(desk.deliver(row.mode), row.outcome);
    EXPECT_EQ(desk.clipboard(), row.onClipboardFor > 0 ? said : users);
    EXPECT_EQ(desk.logged("ax_insert_attempt", "stage"), row.stage);

    desk.platform.time.advance(Seconds(row.onClipboardFor - 0.01));
    EXPECT_EQ(desk.field.text, row.landed ? said : "");
    if (row.onClipboardFor > 0) {
      EXPECT_EQ(desk.clipboard(), said) << "taken away too early";
    }
    desk.platform.time.advance(Seconds(0.02));
    EXPECT_EQ(desk.clipboard(), users);
    EXPECT_EQ(desk.platform.log.text().find("Gr"), std::string::npos) << "dictated words in the log";
  }
}

TEST(TextInjectorTest, EmptyTextAndCopyingAskNothingOfTheDesktop) {
  for (auto mode : allInjectionModes) {
    Desk desk;
    desk.platform.secureEntry.enabled = true;
    EXPECT_EQ(desk.deliver(mode, ""), failedWith("There was nothing to insert."));
    EXPECT_EQ(desk.clipboard(), users);
    EXPECT_EQ(desk.platform.pasteboard.clears, 0);
  }
  Desk desk;
  desk.platform.secureEntry.enabled = true;
  desk.platform.desktop.trusted = false;
  EXPECT_EQ(desk.deliver(Mode::copyOnly), "copied");
  desk.platform.time.advance(Seconds(1000));
  EXPECT_EQ(desk.clipboard(), said) << "it is what the user asked to have there";
}

TEST(TextInjectorTest, WhatIsCopiedIsMarkedForClipboardManagers) {
  Desk desk;
  desk.injector.copyToClipboard(said);
  ASSERT_EQ(desk.platform.pasteboard.items().size(), 1u);
  const auto item = desk.platform.pasteboard.items().front();
  const PasteboardItem expected{{{std::string(pasteboardTypeString), said},
                                 {"org.nspasteboard.ConcealedType", said},
                                 {"org.nspasteboard.TransientType", ""},
                                 {"org.nspasteboard.AutoGeneratedType", ""},
                                 {"org.nspasteboard.source", "com.pell.dictation"}}};
  EXPECT_EQ(item, expected);
}

TEST(TextInjectorTest, TheClipboardComesBackByteForByte) {
  const std::vector<PasteboardItem> contents[] = {
      {},
      {{{{"image/png", std::string("\x89PNG\r\n\x1A\n\0\0\xFF", 11)}, {"text/html", "<img>"}}}},
      {{{{"text/uri-list", "file:///a%20b\r\n"}}}, {{{std::string(pasteboardTypeString), "two items"}}}},
  };
  for (const auto& content : contents) {
    Desk desk;
    desk.platform.pasteboard.otherPuts(content);
    ASSERT_EQ(desk.deliver(Mode::paste), "pasted");
    desk.platform.time.advance(Seconds(2));
    EXPECT_EQ(desk.platform.pasteboard.items(), content);
  }
}

TEST(TextInjectorTest, WhatTheUserCopiesMeanwhileStays) {
  for (auto mode : {Mode::paste, Mode::automatic}) {
    for (const char* type : {pasteboardTypeString.data(), "image/png"}) {
      Desk desk;
      if (mode == Mode::automatic) desk.platform.desktop.trusted = false;
      desk.deliver(mode);
      desk.platform.time.advance(Seconds(1));
      desk.platform.pasteboard.otherPuts({{{{type, "newer"}}}});
      desk.platform.time.advance(Seconds(100));
      EXPECT_EQ(desk.platform.pasteboard.otherReads(type), "newer");
    }
  }
}

TEST(TextInjectorTest, PendingRestoresActEachForItself) {
  Desk desk;
  desk.deliver(Mode::paste, "one");
  desk.platform.time.advance(Seconds(1));
  desk.deliver(Mode::paste, "one");  // the same words again: its snapshot is the first text
  desk.platform.time.advance(Seconds(0.6));
  EXPECT_EQ(desk.clipboard(), users) << "the first restore finds its text";
  desk.platform.time.advance(Seconds(2));
  EXPECT_EQ(desk.clipboard(), users) << "the second finds it gone";
}

TEST(TextInjectorTest, AtTheEndOfTheProcessTheClipboardComesBackAtOnce) {
  Desk desk;
  desk.deliver(Mode::paste, "one");
  desk.platform.time.advance(Seconds(0.5));
  desk.deliver(Mode::paste, "two");
  desk.injector.restorePendingClipboard();
  EXPECT_EQ(desk.clipboard(), users);
  int clears = desk.platform.pasteboard.clears;
  desk.platform.time.advance(Seconds(10));
  EXPECT_EQ(desk.platform.pasteboard.clears, clears) << "and nothing comes after";

  desk.deliver(Mode::paste, "three");
  desk.platform.pasteboard.otherPutsText("newer");
  desk.injector.restorePendingClipboard();
  EXPECT_EQ(desk.clipboard(), "newer");
}

TEST(TextInjectorTest, AnEndOfTheProcessDuringAPasteGivesTheClipboardBackAndPastesNothing) {
  Desk desk;
  desk.platform.input.heldModifiers = modifier::option;
  auto quit = desk.platform.time.main().postAfter(Seconds(0.1), [&] {
    desk.injector.restorePendingClipboard();
    EXPECT_EQ(desk.clipboard(), users);
  });
  const Instant start = desk.now();
  EXPECT_EQ(desk.deliver(Mode::paste), couldNotPaste);
  EXPECT_LT(Seconds(desk.now() - start).count(), 0.2) << "nothing is waited for";
  EXPECT_EQ(desk.logged("paste_failed", "stage"), "ended");
  desk.platform.time.advance(Seconds(100));
  EXPECT_EQ(desk.clipboard(), users);
  EXPECT_EQ(desk.platform.input.pastes.size(), 0u);
}

TEST(TextInjectorTest, APasteWaitsForTheTriggerToBeReleasedButNotForEver) {
  for (std::uint64_t held : {modifier::command, modifier::option, modifier::control, modifier::shift}) {
    for (bool stuck : {false, true}) {
      Desk desk;
      auto& main = desk.platform.time.main();
      desk.platform.input.heldModifiers = held;
      bool otherWorkRan = false;
      auto other = main.postAfter(Seconds(0.1), [&] { otherWorkRan = true; });
      auto release = main.postAfter(Seconds(0.3), [&] {
        if (!stuck) desk.platform.input.heldModifiers = modifier::function;  // alone it is no hindrance
      });
      const Instant start = desk.now();
      EXPECT_EQ(desk.deliver(Mode::paste), "pasted");
      EXPECT_TRUE(otherWorkRan) << "the main loop goes on";
      ASSERT_EQ(desk.platform.input.pastes.size(), 1u);
      EXPECT_EQ(desk.platform.input.pastes[0].heldModifiers, stuck ? held : modifier::function);
      EXPECT_NEAR(Seconds(desk.now() - start).count(), stuck ? 0.65 : 0.32, 0.05);
      EXPECT_EQ(desk.logged("paste_modifiers_stuck", "flags"), stuck ? std::to_string(held) : "(not logged)");
    }
  }
}

TEST(TextInjectorTest, ALineBreakNeverReachesATerminal) {
  const std::string text = "one\r\ntwo\rthree\nfour\u2028five\u2029six\n";
  for (bool movesThere : {false, true}) {  // while the trigger is held
    Desk desk;
    auto& terminal = desk.platform.desktop.launchEditor("org.example.Terminal", "Terminal");
    terminal.pasteTarget = PasteTarget::terminal;
    if (movesThere) desk.platform.desktop.activate(desk.editor);
    desk.platform.input.heldModifiers = modifier::option;
    auto move = desk.platform.time.main().postAfter(Seconds(0.2), [&] {
      desk.platform.desktop.activate(terminal);
      desk.platform.input.heldModifiers = 0;
    });
    EXPECT_EQ(desk.deliver(Mode::paste, text), "pasted");
    desk.platform.time.advance(Seconds(1));
    EXPECT_EQ(terminal.focus->text, "one two three four five six ");
    desk.platform.time.advance(Seconds(1));
    EXPECT_EQ(desk.clipboard(), users);
  }
}

TEST(TextInjectorTest, ApplicationsBuiltOnChromiumAreOnlyPastedInto) {
  const std::vector<std::pair<const char*, bool>> frameworks{
      {"Google Chrome Framework.framework", true},
      {"Electron.framework", true},
      {"ChromiumEmbedded.framework", true},
      {"Electron Helper.app", false},
      {"Sparkle.framework", false},
      {"Framework.framework", false},
  };
  for (const auto& [framework, chromium] : frameworks) {
    SCOPED_TRACE(framework);
    Desk desk;
    auto bundle = desk.platform.directory.path() / "Some.app";
    fs::create_directories(bundle / "Contents" / "Frameworks" / framework);
    EXPECT_EQ(TextInjector::isChromiumBundle(bundle), chromium);

    desk.editor.info.bundleUrl = bundle;
    for (int time = 0; time < 2; ++time) {
      EXPECT_EQ(desk.deliver(Mode::automatic), chromium ? "pasted" : "inserted");
      EXPECT_EQ(desk.field.sets, chromium ? 0 : time + 1);
      fs::remove_all(bundle);  // the disk is asked once for each application
    }
    if (chromium) {
      EXPECT_EQ(desk.logged("ax_insert_attempt", "stage"), "skipped_chromium");
    }
  }
  EXPECT_FALSE(TextInjector::isChromiumBundle("/nowhere/at/all.app"));
}

}  // namespace
}  // namespace pell::testing
