#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "pipeline/SecureInput.h"
#include "support/MemoryPlatform.h"

namespace pell {
namespace {

using testing::MemoryElement;
using testing::MemoryPlatform;

std::string describe(std::optional<SecureInput::Reason> reason) {
  return reason ? std::string(rawValue(*reason)) : "safe";
}

TEST(SecureInputTest, RefusesWhatTakesSecretsAndNothingElse) {
  struct Case {
    const char* what;
    std::function<void(MemoryPlatform&, MemoryElement& focus)> arrange;
    const char* expected;
  };
  auto set = [](MemoryElement& element, std::string_view attribute, AccessibilityValue value) {
    element.attributes.insert_or_assign(std::string(attribute), std::move(value));
  };
  const std::vector<Case> cases{
      {"an ordinary field", [](auto&, auto&) {}, "safe"},
      {"secure entry", [](auto& desk, auto&) { desk.secureEntry.enabled = true; }, "secureInput"},
      {"secure entry without the grant",
       [](auto& desk, auto&) {
         desk.secureEntry.enabled = true;
         desk.desktop.trusted = false;
       },
       "secureInput"},
      {"the role alone",
       [&](auto&, auto& focus) { set(focus, accessibility::role, std::string("AXSecureTextField")); },
       "role"},
      {"the subrole alone",
       [&](auto&, auto& focus) { set(focus, accessibility::subrole, std::string("AXSecureTextField")); },
       "role"},
      {"the subrole where the role cannot be read",
       [&](auto&, auto& focus) {
         focus.readErrors["AXRole"] = AccessibilityError::failure;
         set(focus, accessibility::subrole, std::string("AXSecureTextField"));
       },
       "role"},
      {"a role that only looks like it",
       [&](auto&, auto& focus) {
         set(focus, accessibility::role, std::string("axsecuretextfield"));
         set(focus, accessibility::subrole, std::string("AXSecureTextField "));
       },
       "safe"},
      {"a role that is no text",
       [&](auto&, auto& focus) { set(focus, accessibility::role, AccessibilityUrl{"AXSecureTextField"}); },
       "safe"},
      {"no grant",
       [&](auto& desk, auto& focus) {
         set(focus, accessibility::role, std::string("AXSecureTextField"));
         desk.desktop.trusted = false;
       },
       "safe"},
      {"nothing focused", [](auto& desk, auto&) { desk.desktop.deactivateAll(); }, "safe"},
      {"a focus that cannot be read",
       [](auto& desk, auto&) { desk.accessibility.focusError = AccessibilityError::cannotComplete; }, "safe"},
  };
  for (const auto& test : cases) {
    MemoryPlatform desk;
    auto& editor = desk.desktop.launchEditor();
    test.arrange(desk, *editor.focus);
    SecureInput secureInput(desk.secureEntry, desk.accessibility);
    EXPECT_EQ(describe(secureInput.current()), test.expected) << test.what;
  }
}

TEST(SecureInputTest, IsBoundedWhenAnApplicationHangs) {
  struct Case {
    Seconds system;
    Seconds element;
    double atMost;
  };
  for (const auto& test : {Case{Seconds(100), Seconds(0), 0.75}, Case{Seconds(0), Seconds(100), 1.5}}) {
    MemoryPlatform desk;
    auto& editor = desk.desktop.launchEditor();
    editor.focus->attributes["AXRole"] = std::string("AXSecureTextField");
    editor.focus->latency = test.element;
    desk.accessibility.systemLatency = test.system;
    SecureInput secureInput(desk.secureEntry, desk.accessibility);
    auto start = desk.time.main().now();
    EXPECT_EQ(describe(secureInput.current()), "safe");
    EXPECT_LE(Seconds(desk.time.main().now() - start).count(), test.atMost);
  }
}

}  // namespace
}  // namespace pell
