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

struct Field {
  MemoryPlatform desk;
  MemoryElement& focus = *desk.desktop.launchEditor().focus;

  void set(std::string_view attribute, AccessibilityValue value) {
    focus.attributes.insert_or_assign(std::string(attribute), std::move(value));
  }
  std::string refused() { return describe(SecureInput(desk.secureEntry, desk.accessibility).current()); }
};

TEST(SecureInputTest, RefusesWhatTakesSecretsAndNothingElse) {
  const std::string secure = "AXSecureTextField";
  struct {
    std::string role, subrole;
    bool secureEntry, trusted;
    const char* expected;
  } const cases[] = {
      {"AXTextArea", "", false, true, "safe"},
      {"AXTextArea", "", true, true, "secureInput"},
      {"AXTextArea", "", true, false, "secureInput"},
      {secure, "", false, true, "role"},
      {"AXTextField", secure, false, true, "role"},
      {"axsecuretextfield", secure + " ", false, true, "safe"},
      {secure, "", false, false, "safe"},
  };
  for (const auto& [role, subrole, secureEntry, trusted, expected] : cases) {
    Field field;
    field.set(accessibility::role, role);
    field.set(accessibility::subrole, subrole);
    field.desk.secureEntry.enabled = secureEntry;
    field.desk.desktop.trusted = trusted;
    EXPECT_EQ(field.refused(), expected) << role << ' ' << subrole;
  }
  Field field;
  field.set(accessibility::role, AccessibilityUrl{secure});
  EXPECT_EQ(field.refused(), "safe") << "a role that is no text";
  field.set(accessibility::subrole, secure);
  field.focus.readErrors["AXRole"] = AccessibilityError::failure;
  EXPECT_EQ(field.refused(), "role") << "the subrole where the role cannot be read";
  field.desk.accessibility.focusError = AccessibilityError::cannotComplete;
  EXPECT_EQ(field.refused(), "safe") << "a focus that cannot be read";
  field.desk.accessibility.focusError.reset();
  field.desk.desktop.deactivateAll();
  EXPECT_EQ(field.refused(), "safe") << "nothing focused";
}

TEST(SecureInputTest, IsBoundedWhenAnApplicationHangs) {
  for (const bool wholeSystem : {true, false}) {
    Field field;
    field.set(accessibility::role, std::string("AXSecureTextField"));
    (wholeSystem ? field.desk.accessibility.systemLatency : field.focus.latency) = Seconds(100);
    auto start = field.desk.time.main().now();
    EXPECT_EQ(field.refused(), "safe");
    EXPECT_LE(Seconds(field.desk.time.main().now() - start).count(), wholeSystem ? 0.75 : 1.5);
  }
}

}  // namespace
}  // namespace pell
