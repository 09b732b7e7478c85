// What every SyntheticInput does, together with the pasteboard that it pastes from.
#pragma once

#include "contracts/World.h"
#include "platform/EventTap.h"
#include "platform/Pasteboard.h"
#include "platform/SyntheticInput.h"

namespace pell::testing {

class SyntheticInputWorld : public World {
 public:
  virtual SyntheticInput& input() = 0;
  virtual Pasteboard& pasteboard() = 0;

  /// Another application is in front and a text area in it has the focus, holding `text`, caret behind it.
  virtual void focusTextArea(const std::string& text) = 0;
  virtual void focusTerminal() = 0;
  virtual std::string fieldText() = 0;

  /// The user presses or lets go of the left Option key.
  virtual void holdOption(bool down) = 0;
};

class SyntheticInputContract : public Contract<SyntheticInputWorld> {
 protected:
  void copy(const std::string& text) {
    world().pasteboard().clearContents();
    world().pasteboard().writeItems({{.representations = {{std::string(pasteboardTypeString), text}}}});
  }
  void paste() {
    auto source = world().input().makeSource();
    ASSERT_NE(source, nullptr);
    source->permitLocalEvents();
    auto keys = source->makePasteKeys();
    ASSERT_NE(keys, nullptr);
    keys->post(Seconds(0.012));
  }
  bool fieldBecomes(const std::string& text) {
    return world().waitUntil([&] { return world().fieldText() == text; }, Seconds(5));
  }
};

TEST_P(SyntheticInputContract, PastesWhatIsOnThePasteboard) {
  const std::string text = "né 日本語\nहिन्दी 🎙";
  world().focusTextArea("Before: ");
  world().settle();
  copy(text);
  auto start = world().now();
  paste();
  auto took = Seconds(world().now() - start).count();
  EXPECT_GE(took, 0.012);
  EXPECT_LT(took, 1.0);
  EXPECT_TRUE(fieldBecomes("Before: " + text)) << world().fieldText();
  copy("!");
  paste();
  EXPECT_TRUE(fieldBecomes("Before: " + text + "!")) << world().fieldText();
}

TEST_P(SyntheticInputContract, KnowsATerminal) {
  world().focusTextArea("");
  EXPECT_TRUE(world().waitUntil([&] { return world().input().pasteTarget() == PasteTarget::ordinary; }));
  world().focusTerminal();
  EXPECT_TRUE(world().waitUntil([&] { return world().input().pasteTarget() == PasteTarget::terminal; }));
}

TEST_P(SyntheticInputContract, SeesTheModifiersThatAreHeld) {
  auto source = world().input().makeSource();
  ASSERT_NE(source, nullptr);
  EXPECT_EQ(source->modifierFlags(), 0u);
  world().holdOption(true);
  EXPECT_TRUE(world().waitUntil([&] { return source->modifierFlags() == modifier::option; }));
  world().holdOption(false);
  EXPECT_TRUE(world().waitUntil([&] { return source->modifierFlags() == 0; }));
}

}  // namespace pell::testing
