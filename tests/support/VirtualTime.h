// A main loop and serial executors on a clock that only the test moves.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string_view>
#include <utility>

#include "async/Executor.h"
#include "platform/Services.h"

namespace pell::testing {

/// One thread plays all executors. Each executor keeps its own order; work that is due at the same
/// instant runs in the order of posting, whichever executor it belongs to. Nothing runs but inside
/// `runReady`, `advance`, `step` and `main().runFor`.
class VirtualTime final : public WallClock {
 public:
  VirtualTime();
  ~VirtualTime() override;

  MainLoop& main();
  SerialExecutorFactory serialExecutors();

  /// Runs what is due now, and what that posts, until nothing is due.
  void runReady();

  /// Moves the clock by `span`, running what falls due on the way, each at its own instant.
  void advance(Seconds span);

  /// A blocking call: the clock moves by `span` while nothing runs. What fell due meanwhile runs late.
  void block(Seconds span);

  /// Runs the next piece of work, moving the clock to it if it is due later. False if there is none.
  bool step();

  /// The wall clock: `start` plus the virtual time passed.
  Date now() const override;
  void setDate(Date date);

  struct Core;

 private:
  std::shared_ptr<Core> core_;
  std::unique_ptr<MainLoop> main_;
};

}  // namespace pell::testing
