#include "pipeline/HotKeyTrigger.h"

#include <cstddef>

namespace pell {

namespace {

struct Traits {
  std::string_view rawValue;
  std::string_view label;
  std::string_view glyph;
  bool isPushToTalk;
  bool swallowsEvents;
};

constexpr std::array traitsOfAll{
    Traits{"holdOption", "Hold ⌥ · double-tap for hands-free", "⌥", true, false},
    Traits{"holdFn", "Hold Fn (globe)", "fn", true, false},
    Traits{"holdRightCommand", "Hold Right ⌘", "right ⌘", true, false},
    Traits{"toggleControlOptionSpace", "⌃⌥Space to start and stop", "⌃⌥Space", false, true},
};
static_assert(traitsOfAll.size() == allHotKeyTriggers.size());

const Traits& traits(HotKeyTrigger trigger) { return traitsOfAll[static_cast<std::size_t>(trigger)]; }

}  // namespace

std::string_view rawValue(HotKeyTrigger trigger) { return traits(trigger).rawValue; }

std::optional<HotKeyTrigger> hotKeyTriggerFromRawValue(std::string_view raw) {
  for (auto trigger : allHotKeyTriggers) {
    if (rawValue(trigger) == raw) return trigger;
  }
  return std::nullopt;
}

std::string label(HotKeyTrigger trigger, const Words& words) { return words(traits(trigger).label); }

std::string glyph(HotKeyTrigger trigger, const Words& words) { return words(traits(trigger).glyph); }

bool isPushToTalk(HotKeyTrigger trigger) { return traits(trigger).isPushToTalk; }

bool swallowsEvents(HotKeyTrigger trigger) { return traits(trigger).swallowsEvents; }

}  // namespace pell
