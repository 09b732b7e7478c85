// What every AccessibilityTree does.
#pragma once

#include "contracts/World.h"
#include "platform/AccessibilityTree.h"

namespace pell::testing {

/// Another application whose window is in front.
class AccessibilityWorld : public World {
 public:
  virtual AccessibilityTree& tree() = 0;

  /// A new ordinary text field has the focus, holding `text`, the caret behind it.
  virtual void focusTextField(const std::string& text) = 0;

  /// A new password field has the focus.
  virtual void focusPasswordField() = 0;

  /// Something that takes no text, such as a button, has the focus.
  virtual void focusButton() = 0;

  /// Selects in the text field, counted in code points.
  virtual void select(int from, int length) = 0;

  /// What stands in the text field, as its own application sees it.
  virtual std::string fieldText() = 0;

  /// The process of the application in front.
  virtual int process() = 0;

  /// The application stops answering, without going away.
  virtual void hang() = 0;

  /// No window is in front and nothing has the focus.
  virtual void focusNothing() = 0;

  /// The grant is taken away. False if this world cannot.
  virtual bool withdrawTrust() = 0;
};

/// The focused element; null if there is none.
inline AccessibilityElementRef focusOf(AccessibilityWorld& world) {
  auto systemWide = world.tree().systemWide();
  systemWide->setMessagingTimeout(Seconds(0.75));
  auto reading = systemWide->copyAttribute(accessibility::focusedElement);
  auto* element = std::get_if<AccessibilityElementRef>(&reading.value);
  if (reading.error != AccessibilityError::success || !element) return nullptr;
  if (*element) (*element)->setMessagingTimeout(Seconds(0.75));
  return *element;
}

/// The focused element once it can be written to.
inline AccessibilityElementRef writableFocusOf(AccessibilityWorld& world) {
  AccessibilityElementRef found;
  EXPECT_TRUE(world.waitUntil([&] {
    found = focusOf(world);
    return found && found->isSettable(accessibility::selectedText).settable;
  }));
  return found;
}

class AccessibilityContract : public Contract<AccessibilityWorld> {
 protected:
  AccessibilityElementRef focusNow() { return focusOf(world()); }

  AccessibilityElementRef writableField(const std::string& text = "") {
    world().focusTextField(text);
    return writableFocusOf(world());
  }

  static std::string textOf(AccessibilityElement& element, std::string_view attribute) {
    auto reading = element.copyAttribute(attribute);
    auto* text = std::get_if<std::string>(&reading.value);
    return reading.error == AccessibilityError::success && text ? *text : "";
  }

  void expectField(const std::string& text) {
    EXPECT_TRUE(world().waitUntil([&] { return world().fieldText() == text; })) << world().fieldText();
  }
};

TEST_P(AccessibilityContract, InsertsAtTheCaretAndBehindWhatItInserted) {
  const std::string mixed = "né \"日本\" हिन्दी 🎙";
  auto field = writableField("Start: ");
  ASSERT_NE(field, nullptr);
  auto role = textOf(*field, accessibility::role);
  EXPECT_TRUE(role == accessibility::textField || role == accessibility::textArea) << role;
  EXPECT_EQ(field->setAttribute(accessibility::selectedText, mixed), AccessibilityError::success);
  expectField("Start: " + mixed);
  EXPECT_EQ(field->setAttribute(accessibility::selectedText, " and on"), AccessibilityError::success);
  expectField("Start: " + mixed + " and on");
}

TEST_P(AccessibilityContract, ReplacesTheSelection) {
  auto field = writableField("one two three");
  ASSERT_NE(field, nullptr);
  world().select(4, 3);
  world().settle();
  EXPECT_EQ(field->setAttribute(accessibility::selectedText, "2"), AccessibilityError::success);
  expectField("one 2 three");
}

TEST_P(AccessibilityContract, TellsAPasswordFieldByItsRole) {
  world().focusPasswordField();
  EXPECT_TRUE(world().waitUntil([&] {
    auto field = focusNow();
    return field && (textOf(*field, accessibility::role) == accessibility::secureTextField ||
                     textOf(*field, accessibility::subrole) == accessibility::secureTextField);
  }));
  auto field = writableField();
  ASSERT_NE(field, nullptr);
  EXPECT_NE(textOf(*field, accessibility::role), accessibility::secureTextField);
  EXPECT_NE(textOf(*field, accessibility::subrole), accessibility::secureTextField);
}

TEST_P(AccessibilityContract, WritesNothingIntoWhatTakesNoText) {
  world().focusButton();
  world().settle();
  AccessibilityElementRef button;
  ASSERT_TRUE(world().waitUntil([&] { return (button = focusNow()) != nullptr; }));
  EXPECT_FALSE(button->isSettable(accessibility::selectedText).settable);
  EXPECT_NE(button->setAttribute(accessibility::selectedText, "text"), AccessibilityError::success);
}

TEST_P(AccessibilityContract, SaysWhichAttributesThereAre) {
  auto field = writableField();
  ASSERT_NE(field, nullptr);
  EXPECT_THAT(field->attributeNames(), ::testing::Contains(std::string(accessibility::role)));
  EXPECT_NE(field->copyAttribute("AXNoSuchAttribute").error, AccessibilityError::success);
}

TEST_P(AccessibilityContract, FindsTheWindowOfAnApplication) {
  ASSERT_NE(writableField(), nullptr);
  auto application = world().tree().application(world().process());
  ASSERT_NE(application, nullptr);
  application->setMessagingTimeout(Seconds(0.75));
  auto reading = application->copyAttribute(accessibility::focusedWindow);
  EXPECT_EQ(reading.error, AccessibilityError::success);
  auto* window = std::get_if<AccessibilityElementRef>(&reading.value);
  ASSERT_TRUE(window && *window);
  auto children = (*window)->copyAttribute(accessibility::children);
  EXPECT_EQ(children.error, AccessibilityError::success);
  EXPECT_TRUE(std::holds_alternative<std::vector<AccessibilityElementRef>>(children.value));

  constexpr int nobody = 0x3FFFFFF;
  auto absent = world().tree().application(nobody);
  if (absent) {
    EXPECT_NE(absent->copyAttribute(accessibility::focusedWindow).error, AccessibilityError::success);
  }
}

TEST_P(AccessibilityContract, HasNoFocusWhereNothingIsFocused) {
  world().focusNothing();
  EXPECT_TRUE(world().waitUntil([&] { return focusNow() == nullptr; }));
}

TEST_P(AccessibilityContract, IsNotHeldUpByAnApplicationThatHangs) {
  auto field = writableField("stuck");
  ASSERT_NE(field, nullptr);
  world().hang();
  field->setMessagingTimeout(Seconds(0.3));
  auto start = world().now();
  EXPECT_EQ(field->setAttribute(accessibility::selectedText, "never"), AccessibilityError::cannotComplete);
  EXPECT_LT(Seconds(world().now() - start).count(), 1.0);
  start = world().now();
  field->copyAttribute(accessibility::subrole);
  EXPECT_LT(Seconds(world().now() - start).count(), 1.0);
}

TEST_P(AccessibilityContract, AnswersNothingWithoutTheGrant) {
  ASSERT_NE(writableField(), nullptr);
  EXPECT_TRUE(world().tree().isTrusted());
  EXPECT_TRUE(world().tree().requestTrust());
  if (!world().withdrawTrust()) return;
  EXPECT_TRUE(world().waitUntil([&] { return !world().tree().isTrusted(); }));
  EXPECT_EQ(focusNow(), nullptr);
}

}  // namespace pell::testing
