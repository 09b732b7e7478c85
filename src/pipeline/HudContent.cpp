#include "pipeline/HudContent.h"

#include <string_view>

#include "editor/NoteFormatting.h"

namespace pell {
namespace {

using Icon = HudContent::Icon;
using Tint = HudContent::Tint;
using Click = HudContent::Click;

constexpr const char* doneSymbol = "checkmark.circle.fill";

class ForPhase {
 public:
  ForPhase(const HudInput& input, const Words& words) : input_(input), words_(words) {}

  HudContent operator()(const phase::Idle&) const {
    if (input_.coaching) return coaching(*input_.coaching);
    return {.symbol = "mic", .title = "Pell", .secondLine = key()};
  }

  HudContent operator()(const phase::Recording&) const {
    const std::string_view how = isPushToTalk(input_.trigger) ? "Release " : "Press ";
    HudContent content{.icon = Icon::recordingDot,
                       .title = "Listening…",
                       .secondLine = std::string(how) + key() + " to finish · esc cancels",
                       .showsLevel = true,
                       .elapsed = NoteFormatting::stopwatch(input_.elapsedSeconds)};
    if (input_.activeStyle) {
      content.style = {.title = input_.activeStyle->title, .reason = {}};
      if (const auto reason = label(input_.activeStyleSource)) content.style->reason = *reason;
    }
    return content;
  }

  HudContent operator()(const phase::Transcribing&) const {
    return {.icon = Icon::spinner,
            .title = input_.isPolishing ? "Polishing…" : "Transcribing…",
            .secondLine = key()};
  }

  HudContent operator()(const phase::Finished& finished) const {
    return {.symbol = doneSymbol, .tint = Tint::accent, .title = finished.message, .secondLine = key()};
  }

  HudContent operator()(const phase::Failed& failed) const {
    return {.symbol = "exclamationmark.triangle.fill",
            .tint = Tint::danger,
            .title = "Dictation failed",
            .secondLine = failed.message,
            .click = Click::clearMessage,
            .tooltip = "Click to dismiss"};
  }

 private:
  std::string key() const { return glyph(input_.trigger, words_); }

  static HudContent coaching(const OnboardingModel::HUDCoaching& coaching) {
    return {.symbol = coaching.delivered ? doneSymbol : "mic.fill",
            .tint = Tint::accent,
            .title = coaching.title,
            .secondLine = coaching.subtitle,
            .offersDismissal = coaching.dismissible,
            .click = coaching.delivered ? Click::completeDictateElsewhere : Click::nothing};
  }

  const HudInput& input_;
  const Words& words_;
};

}  // namespace

HudContent HudContent::of(const HudInput& input, const Words& words) {
  return std::visit(ForPhase(input, words), input.phase);
}

std::string BarContent::hint(HotKeyTrigger trigger, const Words& words) {
  return (isPushToTalk(trigger) ? "or hold " : "or press ") + glyph(trigger, words);
}

}  // namespace pell
