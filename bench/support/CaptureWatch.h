// When sound arrives from the sound server, and the least that it takes.
#pragma once

#include <memory>
#include <optional>

#include "async/Time.h"

namespace pell::bench {

/// Notes the first buffer of each capture that is opened in this process while it exists, whoever opens it.
class CaptureWatch {
 public:
  CaptureWatch();
  ~CaptureWatch();

  /// The next buffer that comes is the first one.
  void rearm();

  std::optional<Instant> firstBuffer() const;

 private:
  struct Hook;
  std::unique_ptr<Hook> hook_;
};

/// Opens a capture of nothing but the source, from rest, and lets it go once a buffer has come. The time
/// until that buffer, in milliseconds; absent if none came.
std::optional<double> bareCapture(CaptureWatch& watch);

}  // namespace pell::bench
