// Waiting inside a coroutine.
#pragma once

#include <optional>
#include <stop_token>
#include <variant>

#include "async/OneShot.h"
#include "async/Task.h"

namespace pell {

/// Suspends for `span` as counted by `executor`. A request to stop ends the sleep early; the caller looks
/// at the token afterwards.
inline Task<void> sleepFor(Executor& executor, Seconds span, std::stop_token stop = {}) {
  OneShot<std::monostate> over;
  DelayedWork timer = executor.postAfter(span, [over] { over.set({}); });
  std::stop_callback cancelled(stop, [over] { over.set({}); });
  co_await over;
}

}  // namespace pell
