#pragma once

#include "platform/Services.h"

namespace pell {

/// The machine's clock. Any thread.
class SystemWallClock final : public WallClock {
 public:
  Date now() const override {
    return std::chrono::time_point_cast<Seconds>(std::chrono::system_clock::now());
  }
};

}  // namespace pell
