#pragma once

#include "platform/Services.h"

namespace pell {

/// Writes each line to a file descriptor, with its line break, in one call, so that lines of several threads
/// or processes do not mix. A descriptor that takes nothing loses the line; logging never fails or ends the
/// program.
class StreamLogSink final : public LogSink {
 public:
  /// Borrows `descriptor`.
  explicit StreamLogSink(int descriptor) : descriptor_(descriptor) {}

  void write(LogLevel level, std::string_view line) override;

 private:
  int descriptor_;
};

}  // namespace pell
