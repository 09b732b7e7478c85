// What the floating panel says: the full display of a dictation, and the idle bar.
#pragma once

#include <optional>
#include <string>

#include "app/OnboardingModel.h"
#include "pipeline/DictationPhase.h"
#include "pipeline/HotKeyTrigger.h"
#include "platform/Words.h"
#include "styles/DictationStyle.h"
#include "styles/StyleResolver.h"

namespace pell {

/// All that the display depends on.
struct HudInput {
  DictationPhase phase;
  bool isPolishing = false;
  int elapsedSeconds = 0;
  std::optional<OnboardingModel::HUDCoaching> coaching;
  HotKeyTrigger trigger = HotKeyTrigger::holdOption;
  std::optional<DictationStyle> activeStyle;
  StyleResolver::Source activeStyleSource = StyleResolver::Source::serverDefault;
};

struct HudContent {
  enum class Icon { symbol, recordingDot, spinner };
  enum class Tint { accent, secondary, danger };
  enum class Click { nothing, clearMessage, completeDictateElsewhere };

  /// Which style applies to the recording, and why where that is worth a word.
  struct StyleBadge {
    std::string title;
    std::optional<std::string> reason;
    bool operator==(const StyleBadge&) const = default;
  };

  Icon icon = Icon::symbol;
  std::string symbol;  // its name, where the icon is one
  Tint tint = Tint::secondary;
  std::string title;
  std::string secondLine;
  bool showsLevel = false;
  std::optional<std::string> elapsed;
  std::optional<StyleBadge> style;
  bool offersDismissal = false;  // of the coaching
  Click click = Click::nothing;
  std::optional<std::string> tooltip;
  bool operator==(const HudContent&) const = default;

  /// Coaching shows only while nothing else is to be told. Pure.
  static HudContent of(const HudInput& input, const Words& words);
};

/// The card that opens over the idle bar.
struct BarContent {
  static constexpr const char* accessibilityLabel = "Pell dictation bar";
  static constexpr const char* symbol = "mic.fill";
  static constexpr const char* title = "Start dictation";

  static std::string hint(HotKeyTrigger trigger, const Words& words);
};

}  // namespace pell
