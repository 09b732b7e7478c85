// Keys pressed by the program.
#pragma once

#include <cstdint>
#include <memory>

#include "async/Time.h"

namespace pell {

/// The key events of one paste, made and not yet posted.
class PasteKeys {
 public:
  virtual ~PasteKeys() = default;

  /// Presses the paste keys, keeps them down for `hold`, releases them. The modifiers of a paste and
  /// nothing else are down while the target reads them. Blocks for `hold`.
  virtual void post(Seconds hold) = 0;
};

class EventSource {
 public:
  virtual ~EventSource() = default;

  /// The modifiers that are physically held at this moment (`modifier::` flags).
  virtual std::uint64_t modifierFlags() = 0;

  /// Lets the user's own input through while synthetic keys are posted.
  virtual void permitLocalEvents() = 0;

  /// Null when the events cannot be made.
  virtual std::unique_ptr<PasteKeys> makePasteKeys() = 0;
};

/// What a paste does in the focused element.
enum class PasteTarget {
  ordinary,
  terminal,  // a line break would run a command
};

/// Main thread.
class SyntheticInput {
 public:
  virtual ~SyntheticInput() = default;

  /// Null when the platform has no way to post keys now.
  virtual std::unique_ptr<EventSource> makeSource() = 0;

  virtual PasteTarget pasteTarget() = 0;
};

}  // namespace pell
