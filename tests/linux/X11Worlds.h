// What the worlds of the X11 adapters have in common.
#pragma once

#include "contracts/World.h"
#include "linux/RealLoop.h"
#include "linux/XClient.h"
#include "stores/Log.h"
#include "support/MemoryLog.h"

namespace pell::testing {

/// A world `W` in the private desktop, in real time.
template <class W>
class X11World : public W {
 public:
  using W::waitUntil;
  bool waitUntil(std::function<bool()> done, Seconds limit) override { return loop.runUntil(done, limit); }
  void settle() override { loop.runFor(Seconds(0.15)); }
  Instant now() const override { return loop.now(); }

  RealLoop loop;
  MemoryLog lines;
  Log log{lines};
  XClient user;
};

/// Opens an adapter that must be there.
template <class T, class... Arguments>
std::unique_ptr<T> mustOpen(Arguments&&... arguments) {
  auto opening = T::open(std::forward<Arguments>(arguments)...);
  if (auto* failure = std::get_if<X11Unavailable>(&opening)) {
    ADD_FAILURE() << failure->reason;
    std::abort();
  }
  return std::move(std::get<0>(opening));
}

}  // namespace pell::testing
