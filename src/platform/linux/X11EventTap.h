// The keyboard and mouse of the whole X session, watched and not held up.
#pragma once

#include <memory>
#include <string>

#include "platform/EventTap.h"
#include "platform/linux/X11Connection.h"

namespace pell {

class Executor;
class Log;

/// Taps that listen through the raw events of XInput 2, each on a thread and on connections of its own.
///
/// An active tap also grabs Ctrl+Alt+Space, the one chord that is ever swallowed: the space of that chord
/// reaches nobody else, whatever the callback answers, and the callback has it once per press.
///
/// "Disabled" is the connection lost, or the chord lost to a change of the keyboard's layout; enabling the
/// tap again connects anew.
class X11EventTapService final : public EventTapService {
 public:
  /// Callbacks run on `main`, which outlives the service and its taps.
  X11EventTapService(Executor& main, const Log& log);

  /// Null when there is no X server, when it lacks an extension, or when another program has the chord; the
  /// log tells which, once in each run of failures.
  std::unique_ptr<EventTap> createTap(TapMode mode, Callback callback) override;

 private:
  Executor& main_;
  const Log& log_;
  std::string reason_;  // of the last failure; empty after a success
};

/// Empty where the session's keys can be watched and pressed, else what is missing. Asks the server; not
/// for a poll.
std::string whyX11InputIsUnavailable();

}  // namespace pell
