#pragma once

#include <chrono>
#include <functional>
#include <thread>

#include "contracts/World.h"

namespace pell::testing {

/// A contract's world for an adapter that works on threads of its own, in real time.
template <class W>
class RealTime : public W {
 public:
  using W::waitUntil;
  bool waitUntil(std::function<bool()> done, Seconds limit) override {
    const auto end = now() + toNanoseconds(limit);
    while (!done()) {
      if (now() >= end) return false;
      std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    return true;
  }
  void settle() override { std::this_thread::sleep_for(std::chrono::milliseconds(50)); }
  Instant now() const override { return std::chrono::steady_clock::now(); }
};

}  // namespace pell::testing
