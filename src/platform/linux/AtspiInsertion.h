// Puts text into another application's field and makes sure that it arrived.
#pragma once

#include <string>

#include "platform/linux/AtspiObject.h"

namespace pell {

/// Whether text can be put into an element of that nature by the accessibility bus. False for toolkits that
/// acknowledge an insertion without carrying it out.
AtspiAnswer<bool> acceptsInsertion(const AtspiBus& bus, const AtspiObject& element,
                                   const AtspiNature& nature);

/// Replaces the selection, or inserts at the caret, and leaves the caret after the text. Success means that
/// the field's length was seen to move; nobody must type the text again then.
AccessibilityError insertText(AtspiBus& bus, const AtspiObject& element, const std::string& utf8);

}  // namespace pell
