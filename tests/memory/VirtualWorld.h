// Worlds on virtual time, for the contracts of the doubles.
#pragma once

#include "contracts/World.h"
#include "support/MemoryPlatform.h"

namespace pell::testing {

/// A world `W` over a whole platform in memory.
template <class W>
class VirtualWorld : public W {
 public:
  using W::waitUntil;
  bool waitUntil(std::function<bool()> done, Seconds limit) override {
    auto end = now() + toNanoseconds(limit);
    while (!done()) {
      if (now() >= end) return false;
      desk.time.advance(Seconds(0.005));
    }
    return true;
  }
  void settle() override { desk.time.advance(Seconds(0.1)); }
  Instant now() const override { return desk.time.main().now(); }

  mutable MemoryPlatform desk;
};

}  // namespace pell::testing
