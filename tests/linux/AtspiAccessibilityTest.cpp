#include <gio/gio.h>
#include <glib.h>

#include "linux/EditorWorld.h"

namespace pell::testing {
namespace {

WorldMaker<AccessibilityWorld> editor(const char* name, const char* script, const char* field) {
  return {name, [=] { return std::make_unique<EditorWorld>(script, field); }};
}

INSTANTIATE_TEST_SUITE_P(Editors, AccessibilityContract,
                         ::testing::Values(editor("GtkEntry", "gtk_editor.py", "entry"),
                                           editor("GtkView", "gtk_editor.py", "text"),
                                           editor("QtEntry", "qt_editor.py", "entry"),
                                           editor("QtView", "qt_editor.py", "text"),
                                           editor("QtPlain", "qt_editor.py", "plain")),
                         [](const auto& made) { return made.param.name; });

/// The same text counted in bytes, code points and UTF-16 units gives three different numbers.
const std::vector<std::string> scripts = {
    "plain",          "né",
    "नमस्ते हिन्दी",     "🎙👩‍👩‍👧‍👦🇮🇳",
    "e\u0301o\u0308", "日本語\U0002070E",
};

std::size_t codePoints(const std::string& text) {
  return static_cast<std::size_t>(g_utf8_strlen(text.data(), static_cast<gssize>(text.size())));
}

struct Target {
  const char* script;
  std::vector<const char*> kinds;
};
const Target gtk{"gtk_editor.py", {"entry", "text"}};
const Target qt{"qt_editor.py", {"entry", "text", "plain"}};

class Insertion : public ::testing::TestWithParam<Target> {};

TEST_P(Insertion, IsExactInEveryScriptAndLeavesTheCaretBehindIt) {
  EditorWorld world(GetParam().script, "entry");
  for (const char* kind : GetParam().kinds) {
    for (std::size_t i = 0; i < scripts.size(); ++i) {
      const auto& before = scripts[(i + 3) % scripts.size()];
      const auto& text = scripts[i];
      world.show(kind, before + "XY" + before);
      world.select(static_cast<int>(codePoints(before)), 2);
      auto field = writableFocusOf(world);
      ASSERT_NE(field, nullptr) << kind;
      ASSERT_EQ(field->setAttribute(accessibility::selectedText, text), AccessibilityError::success);
      EXPECT_EQ(world.fieldText(), before + text + before) << kind;
      EXPECT_EQ(world.editor().call("caret"), codePoints(before + text)) << kind << " " << before << text;
    }
  }
}

TEST_P(Insertion, IsNotOfferedByAReadOnlyField) {
  EditorWorld world(GetParam().script, "entry");
  world.show("readonly", "fixed");
  AccessibilityElementRef field;
  ASSERT_TRUE(world.waitUntil([&] { return (field = focusOf(world)) != nullptr; }));
  auto settable = field->isSettable(accessibility::selectedText);
  EXPECT_EQ(settable.error, AccessibilityError::success);
  EXPECT_FALSE(settable.settable);
}

INSTANTIATE_TEST_SUITE_P(Toolkits, Insertion, ::testing::Values(gtk, qt),
                         [](const auto& toolkit) { return toolkit.index == 0 ? "Gtk" : "Qt"; });

TEST(AtspiFocus, FollowsTheActiveWindowAndForgetsWhatIsGone) {
  EditorWorld first("gtk_editor.py", "entry");
  first.show("entry", "first");
  ASSERT_NE(writableFocusOf(first), nullptr);
  {
    EditorWorld second("qt_editor.py", "entry");
    second.show("entry", "second");
    auto field = writableFocusOf(first);
    ASSERT_NE(field, nullptr);
    EXPECT_EQ(field->setAttribute(accessibility::selectedText, "!"), AccessibilityError::success);
    EXPECT_EQ(second.fieldText(), "second!");
  }
  ASSERT_TRUE(first.waitUntil([&] { return first.editor().call("active") == true; }));
  auto field = writableFocusOf(first);
  ASSERT_NE(field, nullptr);
  EXPECT_EQ(field->setAttribute(accessibility::selectedText, "!"), AccessibilityError::success);
  EXPECT_EQ(first.fieldText(), "first!");
}

TEST(AtspiFocus, OfAHungApplicationIsBoundedAndHoldsUpNobodyElse) {
  EditorWorld hung("gtk_editor.py", "entry");
  hung.show("entry", "");
  ASSERT_NE(writableFocusOf(hung), nullptr);
  EditorWorld other("gtk_editor.py", "entry");
  hung.hang();
  hung.settle();  // what was just asked is not asked again
  auto start = hung.now();
  auto systemWide = hung.tree().application(hung.process());
  systemWide->setMessagingTimeout(Seconds(0.75));
  EXPECT_EQ(systemWide->copyAttribute(accessibility::focusedElement).error,
            AccessibilityError::cannotComplete);
  EXPECT_LT(Seconds(hung.now() - start).count(), 0.9);
  other.show("entry", "free");
  start = hung.now();
  auto field = focusOf(hung);
  ASSERT_NE(field, nullptr);
  EXPECT_EQ(field->setAttribute(accessibility::selectedText, "!"), AccessibilityError::success);
  EXPECT_LT(Seconds(hung.now() - start).count(), 0.3);
  EXPECT_EQ(other.fieldText(), "free!");
}

TEST(AtspiTrust, IsSwitchedOnWhenAskedFor) {
  EditorWorld world("gtk_editor.py", "entry");
  setAccessibilityEnabled(false);
  ASSERT_TRUE(world.waitUntil([&] { return !world.tree().isTrusted(); }));
  GSettings* settings = g_settings_new("org.gnome.desktop.interface");
  auto isKept = [&] { return g_settings_get_boolean(settings, "toolkit-accessibility") != FALSE; };
  ASSERT_TRUE(world.waitUntil([&] { return !isKept(); }));
  world.tree().requestTrust();
  EXPECT_TRUE(world.waitUntil([&] { return world.tree().isTrusted(); }));
  EXPECT_TRUE(world.waitUntil(isKept)) << "the next login has it too";
  g_object_unref(settings);
}

TEST(AtspiTrust, TakesTheRestOfTheGrantIntoAccount) {
  RealLoop loop;
  bool rest = false;
  AtspiAccessibility tree(
      {.activeProcess = [] { return 0; }, .own = nullptr, .alsoNeeded = [&] { return rest; }});
  EXPECT_FALSE(loop.runUntil([&] { return tree.isTrusted(); }, Seconds(0.5)));
  rest = true;
  EXPECT_TRUE(loop.runUntil([&] { return tree.isTrusted(); }, Seconds(5)));
}

}  // namespace
}  // namespace pell::testing
