// The key by which dictation is steered.
#pragma once

#include <array>
#include <optional>
#include <string>
#include <string_view>

#include "platform/Words.h"

namespace pell {

/// The user's choice, stored in the settings by its raw value.
enum class HotKeyTrigger { holdOption, holdFn, holdRightCommand, toggleControlOptionSpace };

/// In the order in which the settings offer them.
inline constexpr std::array allHotKeyTriggers{HotKeyTrigger::holdOption, HotKeyTrigger::holdFn,
                                              HotKeyTrigger::holdRightCommand,
                                              HotKeyTrigger::toggleControlOptionSpace};

/// The name under which a trigger is stored and logged; also its identity in lists.
std::string_view rawValue(HotKeyTrigger trigger);

/// Absent for a name that no trigger has.
std::optional<HotKeyTrigger> hotKeyTriggerFromRawValue(std::string_view raw);

/// The sentence by which the settings offer a trigger, in the platform's wording.
std::string label(HotKeyTrigger trigger, const Words& words);

/// The key as hints show it, in the platform's wording.
std::string glyph(HotKeyTrigger trigger, const Words& words);

/// True if recording lasts as long as the key is held.
bool isPushToTalk(HotKeyTrigger trigger);

/// True if the key press is kept from the application in front.
bool swallowsEvents(HotKeyTrigger trigger);

}  // namespace pell
