#pragma once

#include "platform/OwnElements.h"

namespace pell {

/// The widget of ours that takes the keyboard, as an accessibility element: line edits and text edits can be
/// written into, fields that hide their content say that they are secure.
class QtOwnElements final : public OwnElements {
 public:
  AccessibilityElementRef focusedElement() override;
};

}  // namespace pell
