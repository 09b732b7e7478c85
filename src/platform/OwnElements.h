// The accessibility elements of this very program.
#pragma once

#include "platform/AccessibilityTree.h"

namespace pell {

/// Answers for our own widgets inside the process. Asking the accessibility bus about ourselves would make
/// the main thread wait for a reply that only the main thread can give.
class OwnElements {
 public:
  virtual ~OwnElements() = default;

  /// The element that takes the keyboard now, or null. Main thread.
  virtual AccessibilityElementRef focusedElement() = 0;
};

}  // namespace pell
